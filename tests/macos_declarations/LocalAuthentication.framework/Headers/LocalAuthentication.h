// Stands for the LocalAuthentication framework, as far as it is used here.
#pragma once

#include <Foundation/Foundation.h>

enum LAPolicy : NSInteger { LAPolicyDeviceOwnerAuthentication = 2 };

@interface LAContext : NSObject
- (BOOL)canEvaluatePolicy:(LAPolicy)policy error:(NSError**)error;
- (void)evaluatePolicy:(LAPolicy)policy
       localizedReason:(NSString*)reason
                 reply:(void (^)(BOOL success, NSError* error))reply;
- (void)invalidate;
@end
