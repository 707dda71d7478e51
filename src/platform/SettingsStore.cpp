#include "platform/SettingsStore.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <system_error>
#include <type_traits>

#include "platform/Files.h"
#include "platform/JSONValue.h"
#include "platform/Utf8.h"

namespace quillbay {

namespace {

/// Many times what a person could set.
constexpr std::size_t fileLimitBytes = std::size_t{1024} * 1024;

std::runtime_error unreadable(const std::filesystem::path& file, const std::string& reason) {
    return std::runtime_error(
        fmt::format("the settings in {} cannot be read and are left as they are: {}", file.string(), reason));
}

/// The whole document, to be written back with a change; an empty one when there is no file.
nlohmann::ordered_json readForChange(const std::filesystem::path& file) {
    std::error_code error;
    if (std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found)
        return nlohmann::ordered_json::object();
    const std::optional<std::string> text = readFile(file, fileLimitBytes);
    if (!text) throw unreadable(file, "it is no readable file of at most 1 MiB");
    try {
        // Within its bounds, so that the other parser, which keeps what this one does not, is safe to run.
        static_cast<void>(JSONValue::parse(*text).object("settings"));
    } catch (const JSONError& invalid) {
        throw unreadable(file, invalid.what());
    }
    return nlohmann::ordered_json::parse(*text);
}

/// What `read` makes of the value of a key. Nothing when there is none, or `read` finds it to be of another
/// kind.
template <typename Read>
std::optional<std::invoke_result_t<Read, const JSONValue&>> valueIn(const std::filesystem::path& file,
                                                                    std::string_view key, const Read& read) {
    const std::optional<std::string> text = readFile(file, fileLimitBytes);
    if (!text) return std::nullopt;
    try {
        const JSONValue settings = JSONValue::parse(*text);
        const JSONValue* value = settings.member(key);
        if (value == nullptr) return std::nullopt;
        return read(*value);
    } catch (const JSONError&) {
        // Whoever damaged it by hand gets the defaults now, and the reason at the first change.
        return std::nullopt;
    }
}

void write(const std::filesystem::path& file, const nlohmann::ordered_json& settings) {
    constexpr int indentation = 2;  // a person may edit it
    makeDirectories(file.parent_path());
    replaceFile(file, settings.dump(indentation) + "\n");
}

}  // namespace

SettingsStore::SettingsStore(const FileLocations& files)
    : file_(files.configuration / applicationFolder / "settings.json") {
    removeLeftOverParts(file_);
}

std::optional<std::string> SettingsStore::string(std::string_view key) const {
    return valueIn(file_, key, [key](const JSONValue& value) { return value.string(key); });
}

std::optional<bool> SettingsStore::boolean(std::string_view key) const {
    return valueIn(file_, key, [key](const JSONValue& value) { return value.boolean(key); });
}

bool SettingsStore::has(std::string_view key) const {
    return valueIn(file_, key, [](const JSONValue&) { return true; }).has_value();
}

void SettingsStore::setString(std::string_view key, const std::string& value) {
    if (!isValidUtf8(key) || !isValidUtf8(value))
        throw std::runtime_error(
            fmt::format("the setting cannot be kept in {}: it is not valid UTF-8", file_.string()));
    nlohmann::ordered_json settings = readForChange(file_);
    settings[std::string(key)] = value;
    write(file_, settings);
}

void SettingsStore::setBoolean(std::string_view key, bool value) {
    nlohmann::ordered_json settings = readForChange(file_);
    settings[std::string(key)] = value;
    write(file_, settings);
}

void SettingsStore::checkReadable() const {
    static_cast<void>(readForChange(file_));
}

void SettingsStore::remove(std::string_view key) {
    nlohmann::ordered_json settings = readForChange(file_);
    if (settings.erase(std::string(key)) != 0) write(file_, settings);
}

}  // namespace quillbay
