#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileLocations.h"

namespace quillbay {

/// The user's settings: texts and truth values by key, in `settings.json` in the program's configuration
/// folder.
///
/// Every read looks at the file, so that what the user has changed by hand holds too; every write replaces it
/// in one step and keeps what it does not know. Used on the main thread.
class SettingsStore {
 public:
    explicit SettingsStore(const FileLocations& files);

    /// Nothing when there is no such key, when its value is no text, or when the file cannot be read.
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const;

    /// The same for a value that is true or false.
    [[nodiscard]] std::optional<bool> boolean(std::string_view key) const;

    /// Whether there is such a key in a file that can be read, whatever its value.
    [[nodiscard]] bool has(std::string_view key) const;

    /// Throws std::system_error when the file cannot be written, and std::runtime_error, with a sentence that
    /// names the file, when what is in it cannot be read: it is left as it is then.
    void setString(std::string_view key, const std::string& value);
    void setBoolean(std::string_view key, bool value);

    /// Throws as `setString` when a change could not be made to what is in the file now; changes nothing.
    void checkReadable() const;

    /// Forgets the key. Throws as `setString`.
    void remove(std::string_view key);

 private:
    std::filesystem::path file_;
};

}  // namespace quillbay
