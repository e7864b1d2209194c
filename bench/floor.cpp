#include "bench/floor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "files/file.h"
#include "platform/lines.h"

namespace tovra::bench {
namespace {

void require(bool succeeded, const std::filesystem::path& file) {
    if (!succeeded) throw std::runtime_error("the floor cannot use " + file.string());
}

Descriptor opened(const std::filesystem::path& file, int flags) {
    Descriptor descriptor(FileSystem::system(), ::open(file.c_str(), flags | O_CLOEXEC, 0600));
    require(descriptor.isOpen(), file);
    return descriptor;
}

}  // namespace

Floor::Floor(std::filesystem::path file) : file_(std::move(file)) {}

void Floor::read() {
    const Descriptor source = opened(file_, O_RDONLY);
    struct stat status {};
    require(::fstat(source.get(), &status) == 0, file_);
    size_ = static_cast<std::size_t>(status.st_size);
    if (size_ + simdjson::SIMDJSON_PADDING > capacity_) {
        capacity_ = size_ + simdjson::SIMDJSON_PADDING;
        buffer_ = std::make_unique<char[]>(capacity_);
    }
    for (std::size_t done = 0; done < size_;) {
        const ssize_t count = ::read(source.get(), buffer_.get() + done, size_ - done);
        require(count > 0, file_);
        done += static_cast<std::size_t>(count);
    }
}

void Floor::readAndParse() {
    read();
    require(parser_.parse(buffer_.get(), size_, false).error() == simdjson::SUCCESS, file_);
}

void Floor::readAndReplace() {
    readAndParse();
    const std::filesystem::path fresh = file_.string() + ".floor";
    {
        const Descriptor target = opened(fresh, O_WRONLY | O_CREAT | O_TRUNC);
        require(!writeAll(target.get(), {buffer_.get(), size_}), fresh);
        require(::fsync(target.get()) == 0, fresh);
    }
    require(std::rename(fresh.c_str(), file_.c_str()) == 0, file_);
    const Descriptor directory = opened(file_.parent_path(), O_RDONLY | O_DIRECTORY);
    require(::fsync(directory.get()) == 0, file_);
}

}  // namespace tovra::bench
