#include "update/LatestResponse.h"

#include "platform/JSONValue.h"

namespace quillbay {

LatestResponse decodeLatestResponse(std::string_view body) {
    // An answer holds four values; what is far beyond that is none, and must not cost memory.
    const JSONValue document = JSONValue::parse(body, {.values = 10'000});
    LatestResponse response{document.requiredMember("version").string("version"),
                            document.requiredMember("download_url").string("download_url"), std::nullopt};
    if (const JSONValue* notes = document.member("release_notes_url"))
        response.releaseNotesURL = notes->string("release_notes_url");
    return response;
}

}  // namespace quillbay
