#include "platform/macos/MailService.h"

#import <AppKit/AppKit.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace {

using Done = std::function<void(quillbay::MailAnswer)>;

/// A composer that says nothing has the draft all the same.
constexpr int64_t patienceSeconds = 60;

NSString* text(const std::string& utf8) {
    NSString* string = [NSString stringWithUTF8String:utf8.c_str()];
    return string == nil ? @"" : string;
}

}  // namespace

/// Waits for what becomes of one draft, and keeps itself until then.
@interface QuillbayMailAnswer : NSObject <NSSharingServiceDelegate>
- (instancetype)initWithDone:(Done)done;
- (void)answer:(quillbay::MailAnswer)answer;
@end

@implementation QuillbayMailAnswer {
    Done _done;
    QuillbayMailAnswer* _itself;
}

- (instancetype)initWithDone:(Done)done {
    self = [super init];
    if (self) {
        _done = std::move(done);
        _itself = self;
    }
    return self;
}

- (void)answer:(quillbay::MailAnswer)answer {
    if (!_done) return;
    const Done done = std::exchange(_done, nullptr);
    done(answer);
    _itself = nil;
}

- (void)sharingService:(NSSharingService*)service didShareItems:(NSArray*)items {
    [self answer:quillbay::MailAnswer::opened];
}

- (void)sharingService:(NSSharingService*)service didFailToShareItems:(NSArray*)items error:(NSError*)error {
    const bool closedByUser =
        [error.domain isEqualToString:NSCocoaErrorDomain] && error.code == NSUserCancelledError;
    [self answer:closedByUser ? quillbay::MailAnswer::opened : quillbay::MailAnswer::refused];
}

@end

namespace quillbay {

void composeInMailService(const MailDraft& draft, std::function<void(MailAnswer)> done) {
    QuillbayMailAnswer* waiting = [[QuillbayMailAnswer alloc] initWithDone:std::move(done)];
    // NSApp is there once a program has windows.
    NSSharingService* service =
        NSApp == nil ? nil : [NSSharingService sharingServiceNamed:NSSharingServiceNameComposeEmail];
    NSMutableArray* items = [NSMutableArray arrayWithObject:text(draft.body)];
    if (draft.attachment) {
        if (::access(draft.attachment->c_str(), R_OK) != 0) {
            [waiting answer:MailAnswer::refused];
            return;
        }
        [items addObject:[NSURL fileURLWithPath:text(draft.attachment->string())]];
    }
    if (service == nil || ![service canPerformWithItems:items]) {
        [waiting answer:MailAnswer::unavailable];
        return;
    }
    service.recipients = @[ text(draft.recipient) ];
    service.subject = text(draft.subject);
    service.delegate = waiting;
    [service performWithItems:items];
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, patienceSeconds * static_cast<int64_t>(NSEC_PER_SEC)),
                   dispatch_get_main_queue(), ^{
                     [waiting answer:MailAnswer::opened];
                   });
}

}  // namespace quillbay
