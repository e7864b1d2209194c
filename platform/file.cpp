#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tovra {
namespace {

// Closes a file descriptor that was only read from.
class ReadDescriptor {
  public:
    explicit ReadDescriptor(int descriptor) : descriptor_(descriptor) {}
    ReadDescriptor(const ReadDescriptor&) = delete;
    ReadDescriptor& operator=(const ReadDescriptor&) = delete;
    ~ReadDescriptor() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace

std::optional<json::Text> readFile(const std::filesystem::path& path) {
    // O_NONBLOCK: opening a named pipe must not wait for a writer.
    const ReadDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::uintmax_t>(status.st_size) > json::Text::kMaxSize) {
        return std::nullopt;
    }
    // A file that shrinks meanwhile is taken as long as it still is, one that grows as long as it
    // was: either is somebody's half-done write, which does not parse or is read anew.
    json::Text text(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::read(file.get(), text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    text.shorten(done);
    return text;
}

}  // namespace tovra
