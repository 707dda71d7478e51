#include "update/HTTPSFetch.h"

#include <curl/curl.h>

#include <memory>
#include <new>
#include <utility>

#include "update/CurlFailure.h"

namespace quillbay {

namespace {

// A service that has moved needs one or two.
constexpr long mostRedirects = 5;

// Of all answers together, redirects, interim answers and trailers included: the library keeps them, some
// versions without a bound, and the later ones take too many for a connection that was lost.
constexpr std::size_t headerLimitBytes = std::size_t{256} * 1024;

// libcurl wakes earlier for every time that it keeps; this only bounds a wait in which nothing is due.
constexpr int longestWaitMilliseconds = 60'000;

// The library calls both kinds of handle `void`, so each owner names its own end.
struct EndTransfer {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct EndLoop {
    void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using List = std::unique_ptr<curl_slist, FreeList>;

List listOf(const std::vector<std::string>& texts) {
    List list;
    for (const std::string& text : texts) {
        // What cannot be appended to stays as it was, and is still ours to free.
        curl_slist* const longer = curl_slist_append(list.get(), text.c_str());
        if (longer == nullptr) throw std::bad_alloc();
        static_cast<void>(list.release());
        list.reset(longer);
    }
    return list;
}

void initialiseOnce() {
    static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (result != CURLE_OK) throw FetchError(FetchError::Code::other, curl_easy_strerror(result));
}

/// One GET, from its settings to its end. Made, run and dropped on one thread.
class Transfer {
 public:
    Transfer(const std::string& url, const HTTPSOptions& options)
        : headers_(listOf({"Accept: application/json"})), connectTo_(listOf(options.connectTo)) {
        if (!transfer_ || !loop_) throw std::bad_alloc();
        setRequest(url, options);
        setSecurity(options);
        set(CURLOPT_WRITEFUNCTION, &Transfer::take);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_HEADERFUNCTION, &Transfer::countHeader);
        set(CURLOPT_HEADERDATA, this);
        check(curl_multi_add_handle(loop_.get(), transfer_.get()));
    }
    ~Transfer() { curl_multi_remove_handle(loop_.get(), transfer_.get()); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// The body. Throws FetchError.
    std::string run(const StopToken& token) {
        // The wake-up is remembered, so a stop between a look at the token and the wait is not missed.
        const StopRegistration waking = token.onStop([loop = loop_.get()] { curl_multi_wakeup(loop); });
        for (int running = 1; running > 0;) {
            if (token.stopRequested()) throw FetchError(FetchError::Code::cancelled, "no longer wanted");
            check(curl_multi_perform(loop_.get(), &running));
            if (running > 0)
                check(curl_multi_poll(loop_.get(), nullptr, 0, longestWaitMilliseconds, nullptr));
        }
        checkResult();
        return std::move(body_);
    }

 private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        // A setting that does not hold would make another request of this one, or one that is less safe.
        const CURLcode result = curl_easy_setopt(transfer_.get(), option, value);
        if (result != CURLE_OK) throw FetchError(FetchError::Code::other, curl_easy_strerror(result));
    }

    static void check(CURLMcode result) {
        if (result != CURLM_OK) throw FetchError(FetchError::Code::other, curl_multi_strerror(result));
    }

    void setRequest(const std::string& url, const HTTPSOptions& options) {
        set(CURLOPT_URL, url.c_str());
        set(CURLOPT_HTTPHEADER, headers_.get());
        // One small answer a day gains nothing from the later versions and their larger parsers.
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_MAXREDIRS, mostRedirects);
        set(CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeout.count()));
        if (connectTo_) set(CURLOPT_CONNECT_TO, connectTo_.get());
        // Signals belong to the program, and its threads to whoever ends it: a resolver that hangs is left
        // to itself.
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_QUICK_EXIT, 1L);
    }

    void setSecurity(const HTTPSOptions& options) {
        // For redirects too.
        set(CURLOPT_PROTOCOLS_STR, "https");
        set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        // These are the library's own defaults; they are said here because everything depends on them.
        set(CURLOPT_SSL_VERIFYPEER, 1L);
        set(CURLOPT_SSL_VERIFYHOST, 2L);
        // A service that redirects could make up credentials, and these would be shown to all that follow.
        set(CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
        set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
        if (options.authorities) {
            set(CURLOPT_CAINFO, options.authorities->c_str());
            set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
        }
    }

    /// Called by the library with a piece of the body; any answer but its size ends the transfer.
    static std::size_t take(const char* bytes, std::size_t /*one*/, std::size_t count,
                            void* transfer) noexcept {
        auto& self = *static_cast<Transfer*>(transfer);
        if (count > fetchLimitBytes - self.body_.size()) {
            self.tooLarge_ = true;
            return 0;
        }
        try {
            self.body_.append(bytes, count);
        } catch (const std::bad_alloc&) {
            // Nothing may be thrown through the library; the transfer fails as one that cannot be written.
            return 0;
        }
        return count;
    }

    /// Called by the library with each line of the headers; any answer but its size ends the transfer.
    static std::size_t countHeader(const char* /*line*/, std::size_t /*one*/, std::size_t count,
                                   void* transfer) noexcept {
        auto& self = *static_cast<Transfer*>(transfer);
        self.headerBytes_ += count;
        if (self.headerBytes_ <= headerLimitBytes) return count;
        self.tooLarge_ = true;
        return 0;
    }

    void checkResult() const {
        int left = 0;
        const CURLMsg* const message = curl_multi_info_read(loop_.get(), &left);
        const CURLcode result = message == nullptr ? CURLE_FAILED_INIT : message->data.result;
        if (result == CURLE_OK) return;
        if (tooLarge_) throw FetchError(FetchError::Code::other, "the answer is too large");
        long systemErrorNumber = 0;
        curl_easy_getinfo(transfer_.get(), CURLINFO_OS_ERRNO, &systemErrorNumber);
        throw FetchError(fetchErrorCode(result, systemErrorNumber), curl_easy_strerror(result));
    }

    std::string body_;
    std::size_t headerBytes_ = 0;
    bool tooLarge_ = false;
    List headers_;
    List connectTo_;
    std::unique_ptr<CURL, EndTransfer> transfer_{curl_easy_init()};
    std::unique_ptr<CURLM, EndLoop> loop_{curl_multi_init()};
};

}  // namespace

std::string fetchHTTPS(const std::string& url, const HTTPSOptions& options, const StopToken& token) {
    initialiseOnce();
    return Transfer(url, options).run(token);
}

}  // namespace quillbay
