// macOS: preferences through CoreFoundation, in the form in which `defaults` reads them.
#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "files/accounts.h"
#include "platform/environment.h"
#include "platform/user_directories.h"

namespace tovra {
namespace {

struct Release {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};
template <typename Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, Release>;

Owned<CFStringRef> makeString(const std::string& text) {
    return Owned<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

std::optional<std::string> utf8(CFStringRef string) {
    const CFIndex room =
        CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::string text(static_cast<std::size_t>(room), '\0');
    if (!CFStringGetCString(string, text.data(), room, kCFStringEncodingUTF8)) return std::nullopt;
    text.resize(text.find('\0'));
    return text;
}

}  // namespace

std::filesystem::path applicationSupportDirectory() {
    std::string home = accountHome();
    if (home.empty()) home = environmentVariable("HOME").value_or("");
    return std::filesystem::path(home) / "Library/Application Support";
}

Preference preference(const std::string& domain, const std::string& key) {
    const auto domainName = makeString(domain);
    const auto keyName = makeString(key);
    if (!domainName || !keyName) throw std::bad_alloc();
    const Preference unreadable{{}, "The preferences could not be read (" + domain + ")"};
    // Without this a running process keeps the values that it saw first.
    const bool isRead = CFPreferencesAppSynchronize(domainName.get()) != 0;
    const Owned<CFPropertyListRef> value(
        CFPreferencesCopyAppValue(keyName.get(), domainName.get()));
    if (!value) return isRead ? Preference() : unreadable;
    if (CFGetTypeID(value.get()) != CFStringGetTypeID()) {
        return {{}, {}, "The preference " + key + " is no text"};
    }
    auto text = utf8(static_cast<CFStringRef>(value.get()));
    return text ? Preference{std::move(text), {}} : unreadable;
}

}  // namespace tovra
