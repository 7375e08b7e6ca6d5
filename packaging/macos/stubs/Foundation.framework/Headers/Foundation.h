// What the bridge calls of Foundation, and nothing else, for building without Apple's SDK. Signatures are those
// that the framework documents; a wrong one shows when the real SDK compiles the same source.
#ifndef FALLCATCH_FOUNDATION_STUB_H
#define FALLCATCH_FOUNDATION_STUB_H

#include <objc/objc.h>

#ifdef __LP64__
typedef long NSInteger;
typedef unsigned long NSUInteger;
#else
typedef int NSInteger;
typedef unsigned int NSUInteger;
#endif
typedef NSUInteger NSStringEncoding;
enum : NSInteger { NSOrderedAscending = -1, NSOrderedSame = 0, NSOrderedDescending = 1 };
typedef NSInteger NSComparisonResult;

@class NSArray;
@class NSDictionary;
@class NSString;

__attribute__((objc_root_class))
@interface NSObject {
    Class isa;
}
+ (instancetype)alloc;
- (instancetype)init;
- (oneway void)release;
@end

@interface NSAutoreleasePool : NSObject
@end

@interface NSString : NSObject
- (NSUInteger)length;
- (NSComparisonResult)compare:(NSString*)other;
- (NSArray*)componentsSeparatedByString:(NSString*)separator;
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
- (instancetype)initWithFormat:(NSString*)format, ... __attribute__((format(__NSString__, 1, 2)));
@end

// The class of string constants; clang knows it by this name.
@interface NSSimpleCString : NSString
@end
@interface NSConstantString : NSSimpleCString
@end

@interface NSArray : NSObject
- (NSUInteger)count;
- (id)objectAtIndex:(NSUInteger)index;
@end

@interface NSDictionary : NSObject
@end

@interface NSMutableDictionary : NSDictionary
- (void)addEntriesFromDictionary:(NSDictionary*)other;
- (void)setObject:(id)object forKey:(id)key;
@end

@interface NSBundle : NSObject
+ (NSBundle*)mainBundle;
- (NSDictionary*)infoDictionary;
@end

@interface NSUserDefaults : NSObject
+ (NSUserDefaults*)standardUserDefaults;
- (NSString*)stringForKey:(NSString*)key;
@end

@interface NSProcessInfo : NSObject
+ (NSProcessInfo*)processInfo;
- (NSArray*)arguments;
@end

#endif
