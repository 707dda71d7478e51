// The sheet for a new device, in its window.

#include "ui/AddDeviceSheetFixture.h"
#include "ui/pictures/Pictured.h"

namespace quillbay {
namespace {

class AddDevicePictures : public Pictured<AddDeviceSheetTest> {
 protected:
    void lookAtSheet(const QString& name) {
        settleWindow();
        look(name, sheetRect().adjusted(-32, -32, 32, 32));
    }
    void choose(const QString& provider) {
        model().selectProvider(provider);
        untilQuietSheet();
    }
};

TEST_P(AddDevicePictures, scanning_without_a_client) {
    open();
    look("add-scanning");
}

TEST_P(AddDevicePictures, found) {
    installAll();
    seeTwoPhones();
    open();
    lookAtSheet("add-found");
}

TEST_P(AddDevicePictures, filled) {
    installAll();
    seeTwoPhones();
    open();
    model().setSelectedRow("Lenas-iPhone.local");
    choose("tailscale");
    model().setSelectedPeer("lena-iphone");
    lookAtSheet("add-filled");
}

TEST_P(AddDevicePictures, provider_error) {
    install("tailscale", "echo 'the daemon is not running' >&2; exit 1");
    seeTwoPhones();
    open();
    lookAtSheet("add-error");
}

TEST_P(AddDevicePictures, typed_address_without_a_client) {
    seeTwoPhones();
    open();
    model().setSelectedRow("QA-iPhone-13-mini.local");
    choose("manual");
    model().setManualIP("10.147.17.4");
    lookAtSheet("add-manual");
}

TEST_P(AddDevicePictures, edit) {
    installAll();
    DeviceProfile stored = profile("Lena", 49733);
    stored.displayName = "Lena's iPhone";
    stored.providerHostName = "lena-iphone";
    save(stored);
    openToEdit(stored);
    lookAtSheet("add-edit");
}

TEST_P(AddDevicePictures, peers) {
    installAll();
    seeTwoPhones();
    open();
    choose("tailscale");
    click(control("Which device is this iPhone?"));
    lookAtSheet("add-peers");
}

INSTANTIATE_TEST_SUITE_P(Appearances, AddDevicePictures, ::testing::Bool(), appearanceName);

}  // namespace
}  // namespace quillbay
