#include "discovery/DeviceCtlJSON.h"

#include <gtest/gtest.h>

#include <string>

namespace quillbay {
namespace {

std::optional<std::vector<DeviceCtl>> decodeOne(const std::string& device) {
    return decodeDeviceCtlList(R"({"result": {"devices": [)" + device + "]}}");
}

TEST(DeviceCtlJSON, decodes_devices_and_ignores_other_keys) {
    const auto devices = decodeDeviceCtlList(R"({
        "info": {"outcome": "success", "version": "506.6"},
        "result": {"devices": [
            {"capabilities": [{"name": "x"}],
             "identifier": "A-1",
             "hardwareProperties": {"udid": "00008110-ab", "platform": "iOS", "reality": 1},
             "deviceProperties": {"name": "Anna’s iPhone", "osVersionNumber": "17.5"},
             "connectionProperties": {"potentialHostnames": ["A.coredevice.local", "b.local"],
                                      "tunnelState": "connected", "pairingState": "paired"}},
            {"identifier": "A-2"}
        ]}
    })");
    ASSERT_TRUE(devices);
    EXPECT_EQ(*devices,
              (std::vector<DeviceCtl>{
                  {"A-1", "00008110-ab", "Anna’s iPhone", {"A.coredevice.local", "b.local"}, "connected"},
                  {"A-2", std::nullopt, std::nullopt, {}, std::nullopt}}));
}

TEST(DeviceCtlJSON, null_counts_as_absent_for_what_is_optional) {
    const DeviceCtl bare{"A", std::nullopt, std::nullopt, {}, std::nullopt};
    EXPECT_EQ(decodeOne(R"({"identifier": "A", "hardwareProperties": null, "deviceProperties": null,
                            "connectionProperties": null})"),
              std::vector{bare});
    EXPECT_EQ(decodeOne(R"({"identifier": "A", "hardwareProperties": {"udid": null},
                            "deviceProperties": {"name": null},
                            "connectionProperties": {"potentialHostnames": null, "tunnelState": null}})"),
              std::vector{bare});
}

TEST(DeviceCtlJSON, an_empty_list_is_a_list) {
    EXPECT_EQ(decodeDeviceCtlList(R"({"result": {"devices": []}})"), std::vector<DeviceCtl>());
}

TEST(DeviceCtlJSON, refuses_a_document_of_another_form) {
    for (const char* document :
         {"", "null", "[]", "{}", R"({"result": null})", R"({"result": []})", R"({"result": {}})",
          R"({"result": {"devices": null}})", R"({"result": {"devices": {}}})", R"({"result": {"devices": [)",
          R"({"result": {"devices": []}} x)", "\xff", "{\"result\": {\"devices\": []}, \"x\": \"\xff\"}"})
        EXPECT_FALSE(decodeDeviceCtlList(document)) << document;
}

TEST(DeviceCtlJSON, refuses_a_device_with_a_value_of_another_type) {
    for (const char* device :
         {"null", "1", "[]", "{}", R"({"identifier": null})", R"({"identifier": 1})",
          R"({"identifier": "A", "hardwareProperties": "x"})",
          R"({"identifier": "A", "hardwareProperties": {"udid": 1}})",
          R"({"identifier": "A", "deviceProperties": []})",
          R"({"identifier": "A", "deviceProperties": {"name": true}})",
          R"({"identifier": "A", "connectionProperties": [1]})",
          R"({"identifier": "A", "connectionProperties": {"tunnelState": {}}})",
          R"({"identifier": "A", "connectionProperties": {"potentialHostnames": "a.local"}})",
          R"({"identifier": "A", "connectionProperties": {"potentialHostnames": ["a.local", null]}})"})
        EXPECT_FALSE(decodeOne(device)) << device;
}

TEST(DeviceCtlJSON, a_hundred_thousand_levels_are_refused_and_break_nothing) {
    for (const char* open : {"[", "{\"a\":", "[{\"a\":"}) {
        std::string nested;
        for (int level = 0; level < 100000; ++level)
            nested += open;
        EXPECT_FALSE(decodeDeviceCtlList(nested));
        EXPECT_FALSE(decodeOne(R"({"identifier": "A", "x": )" + nested + "}"));
    }
    std::string closed = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_FALSE(decodeOne(R"({"identifier": "A", "x": )" + closed + "}"));
}

TEST(DeviceCtlJSON, reads_what_is_nested_more_deeply_than_the_tool_writes) {
    const std::string nested = std::string(50, '[') + std::string(50, ']');
    EXPECT_TRUE(decodeOne(R"({"identifier": "A", "x": )" + nested + "}"));
}

}  // namespace
}  // namespace quillbay
