#include "profile/DeviceProfileJSON.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/JSONValue.h"
#include "profile/ProfileExamples.h"

namespace quillbay {
namespace {

using nlohmann::json;

json completeObject() {
    return json::parse(R"({
        "displayName": "Phone", "bonjourName": "name", "bonjourHost": "host.local",
        "serviceType": "_remotepairing._tcp", "remotePairingPort": 49152, "tunnelPortRangeStart": 55000,
        "tunnelPortRangeEnd": 58000, "providerID": "zerotier", "providerHostName": "peer",
        "providerIP": "10.147.17.5", "txtRecord": {"ver": "19"}, "bridgeEnabled": true})");
}

std::string documentOf(const json& object) {
    return json::array({object}).dump();
}

DeviceProfile decodeOne(const std::string& document) {
    const std::vector<DeviceProfile> profiles = decodeProfiles(document);
    EXPECT_EQ(profiles.size(), 1U);
    return profiles.at(0);
}

/// The complete object with one member's text replaced.
std::string withMember(const std::string& key, const std::string& valueText) {
    json object = completeObject();
    object.erase(key);
    std::string text = object.dump();
    text.pop_back();
    return "[" + text + ",\"" + key + "\":" + valueText + "}]";
}

TEST(DeviceProfileJSON, writes_every_field_under_its_key) {
    const json document = json::parse(encodeProfiles({exampleProfile()}));
    EXPECT_EQ(document, json::parse(R"([{
        "displayName": "Mirel's iPhone", "bonjourName": "3F2A-iPhone", "bonjourHost": "iPhone-von-Mirel.local",
        "serviceType": "_remotepairing._tcp", "remotePairingPort": 49152, "tunnelPortRangeStart": 55001,
        "tunnelPortRangeEnd": 58001, "providerID": "netbird", "providerHostName": "phone",
        "providerIP": "100.92.1.7", "txtRecord": {"identifier": "3F2A", "ver": "19", "empty": ""},
        "bridgeEnabled": true}])"));
}

TEST(DeviceProfileJSON, writes_an_empty_list_as_an_empty_array) {
    EXPECT_EQ(encodeProfiles({}), "[]");
    EXPECT_TRUE(decodeProfiles("[]").empty());
}

TEST(DeviceProfileJSON, leaves_absent_values_out) {
    DeviceProfile profile = exampleProfile();
    profile.providerID.reset();
    profile.bridgeEnabled.reset();
    profile.txtRecord.clear();
    const json object = json::parse(encodeProfiles({profile})).at(0);
    EXPECT_FALSE(object.contains("providerID"));
    EXPECT_FALSE(object.contains("bridgeEnabled"));
    EXPECT_EQ(object.at("txtRecord"), json::object());
    EXPECT_EQ(object.at("providerHostName"), "phone");
    EXPECT_EQ(object.size(), 10U);
}

TEST(DeviceProfileJSON, reads_back_what_it_wrote_in_the_same_order) {
    DeviceProfile second = exampleProfile();
    second.bonjourHost = "another.local";
    second.bridgeEnabled.reset();
    DeviceProfile third = DeviceProfile::draft("third");
    third.providerID = "manual";
    const std::vector<DeviceProfile> profiles{exampleProfile(), second, third};
    EXPECT_EQ(decodeProfiles(encodeProfiles(profiles)), profiles);
}

TEST(DeviceProfileJSON, reads_a_file_from_before_there_were_several_providers) {
    json object = completeObject();
    for (const char* key : {"providerID", "providerHostName", "providerIP"})
        object.erase(key);
    object["tailscaleHostName"] = "old-phone";
    object["tailscaleIP"] = "100.64.0.9";
    const DeviceProfile profile = decodeOne(documentOf(object));
    EXPECT_EQ(profile.providerID, "tailscale");
    EXPECT_EQ(profile.providerHostName, "old-phone");
    EXPECT_EQ(profile.providerIP, "100.64.0.9");

    const json written = json::parse(encodeProfiles({profile})).at(0);
    EXPECT_EQ(written.at("providerID"), "tailscale");
    EXPECT_EQ(written.at("providerHostName"), "old-phone");
    EXPECT_EQ(written.at("providerIP"), "100.64.0.9");
    EXPECT_FALSE(written.contains("tailscaleHostName"));
    EXPECT_FALSE(written.contains("tailscaleIP"));
}

TEST(DeviceProfileJSON, does_not_consult_the_new_keys_of_an_old_file) {
    json object = completeObject();
    object.erase("providerID");
    const DeviceProfile profile = decodeOne(documentOf(object));
    EXPECT_EQ(profile.providerID, "tailscale");
    EXPECT_EQ(profile.providerHostName, "");
    EXPECT_EQ(profile.providerIP, "");
}

TEST(DeviceProfileJSON, does_not_consult_the_old_keys_of_a_new_file) {
    json object = completeObject();
    object.erase("providerHostName");
    object.erase("providerIP");
    object["tailscaleHostName"] = "old";
    object["tailscaleIP"] = 17;
    const DeviceProfile profile = decodeOne(documentOf(object));
    EXPECT_EQ(profile.providerID, "zerotier");
    EXPECT_EQ(profile.providerHostName, "");
    EXPECT_EQ(profile.providerIP, "");
}

TEST(DeviceProfileJSON, keeps_an_absent_bridge_switch_absent) {
    json object = completeObject();
    object.erase("bridgeEnabled");
    const DeviceProfile profile = decodeOne(documentOf(object));
    EXPECT_EQ(profile.bridgeEnabled, std::nullopt);
    EXPECT_FALSE(json::parse(encodeProfiles({profile})).at(0).contains("bridgeEnabled"));
    EXPECT_EQ(decodeOne(withMember("bridgeEnabled", "false")).bridgeEnabled, std::optional<bool>(false));
}

TEST(DeviceProfileJSON, reads_null_as_absent_where_a_key_may_be_absent) {
    EXPECT_EQ(decodeOne(withMember("bridgeEnabled", "null")).bridgeEnabled, std::nullopt);
    EXPECT_EQ(decodeOne(withMember("providerID", "null")).providerID, "tailscale");
    EXPECT_EQ(decodeOne(withMember("providerHostName", "null")).providerHostName, "");
    EXPECT_EQ(decodeOne(withMember("providerIP", "null")).providerIP, "");
}

TEST(DeviceProfileJSON, refuses_a_missing_or_mistyped_required_value) {
    for (const char* key : {"displayName", "bonjourName", "bonjourHost", "serviceType", "remotePairingPort",
                            "tunnelPortRangeStart", "tunnelPortRangeEnd", "txtRecord"}) {
        json object = completeObject();
        object.erase(key);
        EXPECT_THROW(decodeProfiles(documentOf(object)), JSONError) << key;
        for (const char* wrong : {"null", "true", "[]", "[\"x\"]"}) {
            EXPECT_THROW(decodeProfiles(withMember(key, wrong)), JSONError) << key << wrong;
        }
    }
    EXPECT_THROW(decodeProfiles(withMember("displayName", "1")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("displayName", "{}")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("remotePairingPort", "\"49152\"")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("txtRecord", "\"ver=19\"")), JSONError);
}

TEST(DeviceProfileJSON, refuses_a_mistyped_optional_value) {
    EXPECT_THROW(decodeProfiles(withMember("bridgeEnabled", "1")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("bridgeEnabled", "\"true\"")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("providerID", "7")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("providerHostName", "[]")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("providerIP", "false")), JSONError);
    json old = completeObject();
    old.erase("providerID");
    old["tailscaleIP"] = 17;
    EXPECT_THROW(decodeProfiles(documentOf(old)), JSONError);
}

TEST(DeviceProfileJSON, refuses_txt_values_that_are_no_strings) {
    for (const char* wrong : {"{\"ver\": 19}", "{\"ver\": null}", "{\"ver\": {}}", "{\"ver\": [\"19\"]}"}) {
        EXPECT_THROW(decodeProfiles(withMember("txtRecord", wrong)), JSONError) << wrong;
    }
}

TEST(DeviceProfileJSON, reads_a_port_in_any_notation_of_an_integer) {
    const auto port = [](const char* text) {
        return decodeOne(withMember("remotePairingPort", text)).remotePairingPort;
    };
    EXPECT_EQ(port("0"), 0);
    EXPECT_EQ(port("-0"), 0);
    EXPECT_EQ(port("65535"), 65535);
    EXPECT_EQ(port("5.5e4"), 55000);
    EXPECT_EQ(port("55000.0"), 55000);
    EXPECT_EQ(port("550000E-1"), 55000);
}

TEST(DeviceProfileJSON, refuses_a_port_that_is_no_integer_or_out_of_range) {
    for (const char* wrong : {"65536", "-1", "0.5", "55000.5", "1e9", "5e-1", "99999999999999999999999",
                              "1e999", "0x10", "010", "+1"}) {
        EXPECT_THROW(decodeProfiles(withMember("remotePairingPort", wrong)), JSONError) << wrong;
        EXPECT_THROW(decodeProfiles(withMember("tunnelPortRangeStart", wrong)), JSONError) << wrong;
        EXPECT_THROW(decodeProfiles(withMember("tunnelPortRangeEnd", wrong)), JSONError) << wrong;
    }
}

TEST(DeviceProfileJSON, counts_the_last_value_of_a_key_that_occurs_twice) {
    const DeviceProfile profile = decodeOne(R"([{"displayName": "first", "displayName": "second",
        "bonjourName": "", "bonjourHost": "", "serviceType": "", "remotePairingPort": "mistyped",
        "remotePairingPort": 2, "tunnelPortRangeStart": 3, "tunnelPortRangeEnd": 4,
        "txtRecord": {"ver": "1", "ver": "2"}}])");
    EXPECT_EQ(profile.displayName, "second");
    EXPECT_EQ(profile.remotePairingPort, 2);
    EXPECT_EQ(profile.txtRecord, (std::map<std::string, std::string>{{"ver", "2"}}));
    EXPECT_THROW(decodeProfiles(withMember("serviceType", "\"x\", \"serviceType\": 4")), JSONError);
}

TEST(DeviceProfileJSON, ignores_unknown_keys) {
    EXPECT_EQ(decodeOne(withMember("notes", R"({"a": [1, 2.5, {"b": null}]})")).displayName, "Phone");
}

TEST(DeviceProfileJSON, refuses_what_is_no_array_of_objects) {
    for (const char* wrong :
         {"", " ", "{}", "null", "1", "\"[]\"", "[null]", "[1]", "[[]]", "[\"profile\"]", "[{}]", "[", "[]]",
          "[],", "{\"devices\": []}", "[{\"displayName\": \"x\"", "nonsense"}) {
        EXPECT_THROW(decodeProfiles(wrong), JSONError) << wrong;
    }
}

TEST(DeviceProfileJSON, refuses_every_truncation_of_a_document) {
    const std::string document = encodeProfiles({exampleProfile(), DeviceProfile::draft("x")});
    for (std::size_t length = 0; length < document.size(); ++length) {
        EXPECT_THROW(decodeProfiles(document.substr(0, length)), JSONError) << length;
    }
    EXPECT_EQ(decodeProfiles(document).size(), 2U);
}

TEST(DeviceProfileJSON, refuses_deep_nesting_without_using_the_stack) {
    constexpr std::size_t levels = 100'000;
    EXPECT_THROW(decodeProfiles(std::string(levels, '[')), JSONError);
    EXPECT_THROW(decodeProfiles(std::string(levels, '[') + std::string(levels, ']')), JSONError);
    std::string objects;
    for (std::size_t i = 0; i < levels; ++i)
        objects += "{\"a\":";
    EXPECT_THROW(decodeProfiles(objects), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("unknown", std::string(levels, '[') + std::string(levels, ']'))),
                 JSONError);
}

TEST(DeviceProfileJSON, refuses_more_values_than_fit_into_memory) {
    std::string document = "[0";
    for (int i = 0; i < 2'100'000; ++i)
        document += ",0";
    document += "]";
    try {
        decodeProfiles(document);
        FAIL() << "accepted";
    } catch (const JSONError& error) {
        EXPECT_STREQ(error.what(), "the JSON holds more than 2000000 values");
    }
}

TEST(DeviceProfileJSON, refuses_invalid_utf8_and_lone_surrogates) {
    EXPECT_THROW(decodeProfiles(withMember("displayName", "\"a\xFF\"")), JSONError);
    EXPECT_THROW(decodeProfiles(withMember("displayName", "\"\\ud800\"")), JSONError);
    EXPECT_EQ(decodeOne(withMember("displayName", "\"\\ud83d\\udcf1\\u0000\"")).displayName,
              std::string("\xF0\x9F\x93\xB1\0", 5));
}

TEST(DeviceProfileJSON, writes_valid_utf8_plainly_and_other_bytes_without_loss) {
    DeviceProfile profile = exampleProfile();
    profile.bonjourName = "caf\xE9";
    profile.bonjourHost = "\xFE.local";
    profile.txtRecord = {{"plain", "M\xC3\xBCller \xF0\x9F\x93\xB1"},
                         {"bytes", std::string("\x00\x01\x80\xFF\"\\\n", 7)},
                         {std::string("k\xC0", 2), "v"}};
    const std::string document = encodeProfiles({profile});
    EXPECT_EQ(decodeProfiles(document), std::vector{profile});
    const json object = json::parse(document).at(0);
    EXPECT_EQ(object.at("txtRecord").at("plain"), "M\xC3\xBCller \xF0\x9F\x93\xB1");
    EXPECT_EQ(object.at("bonjourName"), "caf\U0010EEE9");
}

}  // namespace
}  // namespace quillbay
