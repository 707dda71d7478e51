#include "providers/MeshVPNProviderError.h"

#include <gtest/gtest.h>

namespace quillbay {
namespace {

using Case = MeshVPNProviderError::Case;

TEST(MeshVPNProviderError, describes_a_failed_process_with_its_status_and_text) {
    const auto error = MeshVPNProviderError::processFailed(3, "not logged in");
    EXPECT_EQ(error.errorCase(), Case::processFailed);
    EXPECT_EQ(error.status(), 3);
    EXPECT_EQ(error.standardError(), "not logged in");
    EXPECT_STREQ(error.what(), "CLI exited with status 3: not logged in");
}

TEST(MeshVPNProviderError, describes_a_silent_failure_without_a_colon) {
    EXPECT_STREQ(MeshVPNProviderError::processFailed(1, "").what(), "CLI exited with status 1");
    EXPECT_STREQ(MeshVPNProviderError::processFailed(-1, "").what(), "CLI exited with status -1");
}

TEST(MeshVPNProviderError, keeps_the_text_as_the_client_wrote_it) {
    EXPECT_STREQ(MeshVPNProviderError::processFailed(1, " two\nlines\n").what(),
                 "CLI exited with status 1:  two\nlines\n");
}

TEST(MeshVPNProviderError, describes_a_document_that_cannot_be_read) {
    const auto error = MeshVPNProviderError::decodingFailed("the reason");
    EXPECT_EQ(error.errorCase(), Case::decodingFailed);
    EXPECT_STREQ(error.what(), "Couldn't parse the CLI's output: the reason");
}

TEST(MeshVPNProviderError, describes_a_missing_client) {
    const auto error = MeshVPNProviderError::binaryNotFound();
    EXPECT_EQ(error.errorCase(), Case::binaryNotFound);
    EXPECT_STREQ(error.what(),
                 "CLI not found at the configured path \xE2\x80\x94 check the path in Settings.");
}

}  // namespace
}  // namespace quillbay
