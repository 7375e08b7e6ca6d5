// What Breakpad's client for macOS uses of Foundation beyond what the bridge does, for compiling it without Apple's
// SDK. Signatures are those that the framework documents.
#ifndef FALLCATCH_TESTS_MACOS_FOUNDATION_H
#define FALLCATCH_TESTS_MACOS_FOUNDATION_H

#include_next <Foundation/Foundation.h>

#include <CoreFoundation/CoreFoundation.h>

#include <assert.h>
#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define NSAssert(condition, ...) assert(condition)

@class NSError;

extern NSString* const NSFilePosixPermissions;
void NSLog(NSString* format, ...);

@interface NSObject (MoreOfIt)
- (id)retain;
- (id)autorelease;
@end

@interface NSEnumerator : NSObject
- (id)nextObject;
@end

@interface NSNumber : NSObject
+ (NSNumber*)numberWithUnsignedLong:(unsigned long)value;
- (int)intValue;
@end

@interface NSString (MoreOfIt)
+ (instancetype)stringWithFormat:(NSString*)format, ...;
+ (instancetype)stringWithUTF8String:(const char*)text;
- (const char*)UTF8String;
- (const char*)fileSystemRepresentation;
- (BOOL)boolValue;
- (int)intValue;
- (BOOL)isEqualToString:(NSString*)other;
- (NSString*)uppercaseString;
- (NSString*)stringByAppendingString:(NSString*)other;
- (NSString*)stringByAppendingPathComponent:(NSString*)component;
- (NSString*)stringByDeletingLastPathComponent;
- (NSString*)stringByStandardizingPath;
@end

@interface NSArray (MoreOfIt)
- (NSString*)componentsJoinedByString:(NSString*)separator;
@end

@interface NSDictionary (MoreOfIt)
+ (instancetype)dictionaryWithObject:(id)object forKey:(id)key;
- (id)objectForKey:(id)key;
- (NSEnumerator*)keyEnumerator;
@end

@interface NSBundle (MoreOfIt)
+ (NSBundle*)bundleWithIdentifier:(NSString*)identifier;
+ (instancetype)bundleWithPath:(NSString*)path;
- (NSString*)resourcePath;
- (NSString*)executablePath;
@end

@interface NSUserDefaults (MoreOfIt)
- (BOOL)boolForKey:(NSString*)key;
@end

@interface NSFileManager : NSObject
+ (NSFileManager*)defaultManager;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (NSString*)stringWithFileSystemRepresentation:(const char*)text length:(NSUInteger)length;
- (BOOL)createDirectoryAtPath:(NSString*)path
    withIntermediateDirectories:(BOOL)withParents
                     attributes:(NSDictionary*)attributes
                          error:(NSError**)error;
@end

#endif
