#include "platform/ActivationPolicy.h"

#import <AppKit/AppKit.h>
#import <objc/runtime.h>

namespace quillbay {

void becomeRegularApplication() {
    NSApplication* application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyRegular];

    // The delegate belongs to the window toolkit; one that answers for itself keeps its answer.
    Class delegate = [[application delegate] class];
    if (delegate == nil) return;
    const IMP yes = imp_implementationWithBlock(^BOOL(id, NSApplication*) {
      return YES;
    });
    class_addMethod(delegate, @selector(applicationSupportsSecureRestorableState:), yes, "B@:@");
}

}  // namespace quillbay
