// A file system in memory that holds one folder, to be stopped, disturbed or switched off before
// any call.
#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/file_system.h"

namespace tovra::test {

class FolderModel : public FileSystem {
  public:
    struct File {
        std::string bytes = {};
        std::string onDisk = {};  // what is left of the bytes where the power fails
        mode_t mode = 0600;
        uid_t owner = 1000;
        gid_t group = 1000;
        AccessList list = {};
        long changes = 0;
        ino_t inode = 0;
    };
    using Names = std::map<std::string, std::shared_ptr<File>>;
    static constexpr const char* kFolder = "/folder";

    // Before each call: its name goes in, a reason to fail or 0 comes out.
    std::function<int(std::string_view call)> before = [](auto) { return 0; };
    bool isOff = false;  // no call does anything any more
    bool isLockedByOther = false;
    bool mayChangeOwner = true;
    bool hasAccessLists = true;
    Names names;
    // What the folder may hold after the power fails, the state that was synchronised first.
    std::vector<Names> history{1};

    // As another program does it. The file is on the disk.
    File& put(const std::string& name, const std::string& bytes) {
        names[name] = newFile();
        names[name]->bytes = names[name]->onDisk = bytes;
        history = {names};
        return *names[name];
    }
    [[nodiscard]] std::string bytes(const std::string& name) const {
        const auto found = names.find(name);
        return found == names.end() ? "" : found->second->bytes;
    }

    int openFile(Path path, Error& error) override {
        error = stop("open file");
        if (!error && !find(path)) error = reason(ENOENT);
        return error ? -1 : opened(find(path));
    }
    int openFolder(Path path, Error& error) override {
        error = stop("open folder");
        if (!error && path != kFolder) error = reason(ENOENT);
        return error ? -1 : opened(nullptr);
    }
    int createUnnamed(Path /*folder*/, Error& error) override {
        error = stop("create unnamed");
        return error ? -1 : opened(newFile());
    }
    int createExclusively(Path path, Error& error) override {
        error = stop("create");
        if (error) return -1;
        change([&] { names[path.filename()] = newFile(); });
        return opened(find(path));
    }
    Error close(int file) override {
        files_.erase(file);
        return stop("close");
    }
    Error status(int file, struct stat& status) override {
        const Error error = stop("status");
        if (!error) status = statusOf(*files_.at(file));
        return error;
    }
    Error look(Path path, struct stat& status) override {
        if (const Error error = stop("look")) return error;
        if (!find(path)) return reason(ENOENT);
        status = statusOf(*find(path));
        return {};
    }
    std::filesystem::path linkTarget(Path /*path*/, Error& error) override {
        error = reason(EINVAL);
        return {};
    }
    std::vector<std::string> namesIn(Path /*folder*/, Error& error) override {
        std::vector<std::string> found;
        error = stop("names");
        for (const auto& [name, file] : names) found.push_back(name);
        return error ? std::vector<std::string>() : found;
    }
    Error mayWrite(Path /*path*/) override { return stop("may write"); }
    Error lock(int /*folder*/) override {
        const Error error = stop("lock");
        return error || !isLockedByOther ? error : reason(EWOULDBLOCK);
    }
    std::size_t read(int file, char* into, std::size_t room, std::size_t offset,
                     Error& error) override {
        error = stop("read");
        const std::string& bytes = files_.at(file)->bytes;
        return error || offset >= bytes.size() ? 0 : bytes.copy(into, room, offset);
    }
    // Half of what is asked for.
    std::size_t write(int file, std::string_view bytes, Error& error) override {
        error = stop("write");
        const std::size_t count = error ? 0 : (bytes.size() + 1) / 2;
        files_.at(file)->bytes += bytes.substr(0, count);
        return count;
    }
    Error synchronise(int file) override {
        const Error error = stop(files_.at(file) ? "synchronise" : "synchronise folder");
        if (!error && files_.at(file)) files_.at(file)->onDisk = files_.at(file)->bytes;
        if (!error && !files_.at(file)) history = {names};
        return error;
    }
    Error synchroniseAll(int file) override {
        history = {names};
        return synchronise(file);
    }
    Error changeOwner(int file, uid_t owner, gid_t group) override {
        if (const Error error = stop("owner")) return error;
        if (!mayChangeOwner) return reason(EPERM);
        files_.at(file)->owner = owner;
        files_.at(file)->group = group;
        return {};
    }
    Error changeMode(int file, mode_t mode) override {
        const Error error = stop("mode");
        if (!error) files_.at(file)->mode = mode;
        return error;
    }
    Error copyAttributes(int /*from*/, int /*to*/) override { return stop("attributes"); }
    AccessList accessList(int file, Error& error) override {
        error = hasAccessLists ? stop("access list") : reason(ENOTSUP);
        return error ? AccessList() : files_.at(file)->list;
    }
    Error setAccessList(int file, const AccessList& list) override {
        const Error error = stop("set access list");
        if (error || (!hasAccessLists && !list.empty())) return error ? error : reason(ENOTSUP);
        files_.at(file)->list = list;
        return {};
    }
    Error link(int file, Path path) override {
        if (const Error error = stop("link")) return error;
        if (find(path)) return reason(EEXIST);
        change([&] { names[path.filename()] = files_.at(file); });
        return {};
    }
    Error rename(Path from, Path to) override {
        const Error error = stop("rename");
        return error ? error : move(from, to);
    }
    Error renameExclusively(Path from, Path to) override {
        if (const Error error = stop("rename exclusively")) return error;
        return find(to) ? reason(EEXIST) : move(from, to);
    }
    Error exchange(Path a, Path b) override {
        if (const Error error = stop("exchange")) return error;
        if (!find(a) || !find(b)) return reason(ENOENT);
        change([&] { std::swap(names[a.filename()], names[b.filename()]); });
        return {};
    }
    Error remove(Path path) override {
        if (const Error error = stop("remove")) return error;
        if (!find(path)) return reason(ENOENT);
        change([&] { names.erase(path.filename()); });
        return {};
    }
    void pause(std::chrono::milliseconds /*time*/) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

  private:
    static Error reason(int number) { return {number, std::generic_category()}; }
    Error stop(std::string_view call) {
        const int number = isOff ? 0 : before(call);
        return reason(isOff ? EIO : number);
    }
    std::shared_ptr<File> find(Path path) {
        const auto found = names.find(path.filename());
        return path.parent_path() == kFolder && found != names.end() ? found->second : nullptr;
    }
    std::shared_ptr<File> newFile() {
        auto file = std::make_shared<File>();
        file->inode = ++inodes_;
        return file;
    }
    Error move(Path from, Path to) {
        if (!find(from)) return reason(ENOENT);
        change([&] { names[to.filename()] = names.extract(from.filename()).mapped(); });
        return {};
    }
    int opened(std::shared_ptr<File> file) {
        files_[++descriptors_] = std::move(file);
        return descriptors_;
    }
    template <typename Change>
    void change(const Change& change) {
        change();
        history.push_back(names);
    }
    static struct stat statusOf(const File& file) {
        struct stat status {};
        status.st_mode = S_IFREG | file.mode;
        status.st_uid = file.owner;
        status.st_gid = file.group;
        status.st_size = static_cast<off_t>(file.bytes.size());
        status.st_ino = file.inode;
        return status;
    }

    std::map<int, std::shared_ptr<File>> files_;  // null: the folder
    int descriptors_ = 0;
    ino_t inodes_ = 0;
};

}  // namespace tovra::test
