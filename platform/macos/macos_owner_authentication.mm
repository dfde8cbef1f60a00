#include "platform/macos/macos_owner_authentication.h"

#include <Foundation/Foundation.h>
#include <LocalAuthentication/LocalAuthentication.h>

namespace vestigo {

struct MacOSOwnerAuthentication::Question {
    LAContext* context = [[LAContext alloc] init];
};

MacOSOwnerAuthentication::MacOSOwnerAuthentication() = default;

MacOSOwnerAuthentication::~MacOSOwnerAuthentication() {
    @autoreleasepool {
        if (latest_) [latest_->context invalidate];
    }
}

bool MacOSOwnerAuthentication::available() {
    @autoreleasepool {
        // Uses a new context each time, since a context remembers that it has been answered.
        const Question question;
        return [question.context canEvaluatePolicy:LAPolicyDeviceOwnerAuthentication error:nil];
    }
}

void MacOSOwnerAuthentication::authenticate(const std::string& reason,
                                            std::function<void(bool)> reply) {
    @autoreleasepool {
        latest_ = std::make_unique<Question>();
        LAContext* const context = latest_->context;
        NSString* const words = [NSString stringWithUTF8String:reason.c_str()];
        // An empty text would end the program with an exception.
        if (!context || words.length == 0) return reply(false);
        [context evaluatePolicy:LAPolicyDeviceOwnerAuthentication
                localizedReason:words
                          reply:^(BOOL success, NSError*) {
                            @autoreleasepool {
                                // Keeps the context alive, and the question open, when another one
                                // is asked meanwhile.
                                (void)context;
                                reply(success);
                            }
                          }];
    }
}

}  // namespace vestigo
