// The few declarations of macOS's CoreFoundation that platform/ uses, for scripts/macos/check: no
// package has the real header. Types and signatures are those of its public reference.
#pragma once

#include <cstdint>

extern "C" {
using CFTypeRef = const void*;
using CFPropertyListRef = CFTypeRef;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFIndex = long;
using CFTypeID = unsigned long;
using CFStringEncoding = std::uint32_t;
using Boolean = unsigned char;
using UInt8 = unsigned char;

constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;
extern const CFAllocatorRef kCFAllocatorDefault;

void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

CFTypeID CFStringGetTypeID();
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                           CFStringEncoding encoding);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex size,
                                    CFStringEncoding encoding, Boolean hasByteOrderMark);

Boolean CFPreferencesAppSynchronize(CFStringRef domain);
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef domain);
}
