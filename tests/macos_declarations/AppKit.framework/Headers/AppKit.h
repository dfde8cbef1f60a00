// Stands for the AppKit framework, as far as it is used here.
#pragma once

#include <Foundation/Foundation.h>

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)urls;
@end
