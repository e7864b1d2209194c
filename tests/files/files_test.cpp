// What files/ does by itself; whole recordings are tested in tests/store.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "files/byte_hash.h"
#include "files/file.h"
#include "files/file_system.h"
#include "support/test_environment.h"

namespace tovra {
namespace {

std::uint64_t hashOf(std::string_view bytes, std::size_t piece = 1000) {
    ByteHash hash;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) {
        hash.add(bytes.substr(0, piece));
    }
    return hash.value();
}

// Names on the disk hold these numbers, from other versions of the program too.
TEST(ByteHash, StaysAsItIs) {
    EXPECT_EQ(hashOf(""), 3792396400031394308U);
    EXPECT_EQ(hashOf("{}"), 10675047785950456741U);
    EXPECT_EQ(hashOf(std::string(100, 'a') + "b"), 872618653747765431U);
}

TEST(ByteHash, TellsTextsApartAndDoesNotSeePieces) {
    std::string text(200, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * i);
    for (std::size_t size = 0; size < text.size(); ++size) {
        const std::string_view some = std::string_view(text).substr(0, size);
        for (const std::size_t piece : {1, 7, 31, 32, 33, 64}) {
            EXPECT_EQ(hashOf(some, piece), hashOf(some)) << size << " " << piece;
        }
        EXPECT_NE(hashOf(some), hashOf(std::string(some) + '\0'));
        std::string other(text);
        other[size] = static_cast<char>(other[size] ^ 0x80);
        EXPECT_NE(hashOf(other), hashOf(text)) << size;
    }
    std::string swapped = text.substr(8, 8) + text.substr(0, 8) + text.substr(16);
    EXPECT_NE(hashOf(swapped), hashOf(text));
    swapped = text.substr(32, 32) + text.substr(0, 32) + text.substr(64);
    EXPECT_NE(hashOf(swapped), hashOf(text));
}

// Calls that a signal interrupts so many times before they are made.
int interruptions = 0;

bool isInterrupted() {
    errno = EINTR;
    return interruptions > 0 && interruptions-- > 0;
}

TEST(FileSystem, MakesCallsAgainThatASignalInterrupts) {
    const support::TemporaryFolder folder;
    FileSystem& system = FileSystem::system();
    std::error_code error;
    const Descriptor file(system, system.createExclusively(folder / "file", error));
    const Descriptor opened(system, system.openFolder(folder / "", error));
    ASSERT_TRUE(file.isOpen() && opened.isOpen());
    const auto expectDone = [](std::error_code result, const char* call) {
        EXPECT_FALSE(result) << call << ": " << result.message();
        EXPECT_EQ(std::exchange(interruptions, 2), 0) << call;
    };
    interruptions = 2;
    expectDone(system.synchronise(file.get()), "fsync");
    expectDone(system.changeMode(file.get(), 0640), "fchmod");
    expectDone(system.changeOwner(file.get(), ::geteuid(), ::getegid()), "fchown");
    expectDone(system.lock(opened.get()), "flock");
    expectDone((system.write(file.get(), "ab", error), error), "write");
    interruptions = 0;
    struct stat status {};
    ASSERT_FALSE(system.status(file.get(), status));
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(status.st_size, 2);
}

// The system's own function, unless a signal comes first.
template <typename Result, typename... Arguments>
Result call(const char* name, Arguments... arguments) {
    if (isInterrupted()) return -1;
    return reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, name))(arguments...);
}

}  // namespace
}  // namespace tovra

// These stand in this program in place of the system's own.
extern "C" {
int fsync(int file) { return tovra::call<int>("fsync", file); }
int fchmod(int file, mode_t mode) { return tovra::call<int>("fchmod", file, mode); }
int fchown(int file, uid_t owner, gid_t group) {
    return tovra::call<int>("fchown", file, owner, group);
}
int flock(int file, int operation) { return tovra::call<int>("flock", file, operation); }
ssize_t write(int file, const void* bytes, size_t size) {
    return tovra::call<ssize_t>("write", file, bytes, size);
}
}
