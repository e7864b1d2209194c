// A file system in memory that holds "/folder", and may fail at any call.
// Its time passes faster.
#pragma once

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "files/file_system.h"

namespace tovra::support {

class FolderModel : public FileSystem {
  public:
    struct File {
        std::string bytes = {};
        std::string onDisk = {};  // what is left of the bytes where the power fails
        mode_t mode = 0600;
        uid_t owner = 1000;
        gid_t group = 1000;
        std::string list = {};  // for access control; empty is none
        ino_t inode = 0;
        time_t modified = 0;  // the bytes
        time_t changed = 0;   // the rest, too
    };
    using FilePointer = std::shared_ptr<File>;
    using Names = std::map<std::string, FilePointer>;

    // A call fails for such a reason without being done. With `done` added, it is done before.
    static constexpr int done = 1 << 20;
    // Before each call: its name goes in, a reason to fail or 0 comes out.
    std::function<int(std::string_view call)> before = [](auto) { return 0; };
    Names names;
    bool hasFolder = true;
    bool isFolderOnDisk = true;
    // What the folder may hold after the power fails, the state that was synchronised first.
    std::vector<Names> history{1};
    std::string inheritedList;  // what new files get

    // As another program does it. The file is on the disk.
    File& put(const std::string& name, const std::string& bytes) {
        hasFolder = isFolderOnDisk = true;
        names[name] = newFile();
        putInto(name, bytes);
        return *names[name];
    }
    // The same in the file itself.
    void putInto(const std::string& name, const std::string& bytes) {
        File& file = *names.at(name);
        file.bytes = file.onDisk = bytes;
        file.modified = file.changed = ++time_;
        history = {names};
    }
    [[nodiscard]] std::string bytes(const std::string& name) const {
        return names.contains(name) ? names.at(name)->bytes : "";
    }

    int openFile(Path path, Error& error) override {
        return open("open file", error, [&] { return find(path); });
    }
    int openFolder(Path path, Error& error) override {
        return open("open folder", error, [&]() -> FilePointer {
            if (path == "/") return root_;
            return path == "/folder" && hasFolder ? folder_ : nullptr;
        });
    }
    int createExclusively(Path path, Error& error) override {
        return open("create", error, [&] { return named(path, newFile()); });
    }
    Error close(int file) override { return files_.erase(file), at("close"); }

    Error status(int file, struct stat& status) override {
        return at("status", [&] { return fill(status, files_.at(file)); });
    }
    Error look(Path path, struct stat& status) override {
        return at("look", [&] {
            if (find(path)) return fill(status, find(path));
            status.st_mode = S_IFDIR | 0700;
            return path == "/" || (path == "/folder" && hasFolder) ? 0 : ENOENT;
        });
    }
    std::vector<std::string> namesIn(Path /*folder*/, Error& error) override {
        std::vector<std::string> found;
        error = at("names", [&] {
            for (const auto& [name, file] : names) found.push_back(name);
            return 0;
        });
        return found;
    }
    Error mayWrite(Path /*path*/) override { return at("may write"); }
    Error lock(int /*folder*/) override { return at("lock"); }
    std::size_t read(int file, char* into, std::size_t room, std::size_t offset,
                     Error& error) override {
        error = at("read");
        const std::string& bytes = files_.at(file)->bytes;
        return error || offset >= bytes.size() ? 0 : bytes.copy(into, room, offset);
    }
    // Half of what is asked for.
    std::size_t write(int file, std::string_view bytes, Error& error) override {
        error = at("write");
        const std::size_t count = error ? 0 : (bytes.size() + 1) / 2;
        files_.at(file)->bytes += bytes.substr(0, count);
        return count;
    }
    Error synchronise(int file) override {
        const FilePointer it = files_.at(file);
        return at(it == root_ || it == folder_ ? "synchronise folder" : "synchronise", [&] {
            it->onDisk = it->bytes;
            if (it == root_) isFolderOnDisk = true;
            if (it == folder_) history = {names};
            return 0;
        });
    }
    Error synchroniseAll(int file) override {
        return at("synchronise all", [&] {
            files_.at(file)->onDisk = files_.at(file)->bytes;
            isFolderOnDisk = hasFolder;
            return history = {names}, 0;
        });
    }
    Error changeOwner(int file, uid_t owner, gid_t group) override {
        const bool isGroupAlone = owner == static_cast<uid_t>(-1);
        return at(isGroupAlone ? "group" : "owner", [&] {
            if (!isGroupAlone) files_.at(file)->owner = owner;
            return files_.at(file)->group = group, 0;
        });
    }
    Error changeMode(int file, mode_t mode) override {
        return at("mode", [&] { return files_.at(file)->mode = mode, 0; });
    }
    Error copyAttributes(int /*from*/, int /*to*/) override { return at("attributes"); }
    Error copyAccessList(int from, int to, bool& isThere) override {
        isThere = !files_.at(from)->list.empty();
        return at("access list", [&] { return files_.at(to)->list = files_.at(from)->list, 0; });
    }
    Error rename(Path from, Path to) override {
        return at(find(to) ? "rename over" : "rename", [&] { return move(from, to); });
    }
    Error renameExclusively(Path from, Path to) override {
        return at("rename exclusively", [&] { return find(to) ? EEXIST : move(from, to); });
    }
    Error exchange(Path a, Path b) override {
        return at("exchange", [&] {
            if (!find(a) || !find(b)) return ENOENT;
            find(a)->changed = find(b)->changed = ++time_;
            std::swap(names[a.filename()], names[b.filename()]);
            return history.push_back(names), 0;
        });
    }
    Error remove(Path path) override {
        return at("remove", [&] {
            if (names.erase(path.filename()) == 0) return ENOENT;
            return history.push_back(names), 0;
        });
    }
    Error makeFolder(Path path) override {
        return at("make folder", [&] {
            if (path != "/folder" || hasFolder) return EEXIST;
            hasFolder = true;
            return isFolderOnDisk = false, 0;
        });
    }
    Error removeFolder(Path path) override {
        return at("remove folder", [&] {
            if (path != "/folder" || !hasFolder) return ENOENT;
            if (!names.empty()) return ENOTEMPTY;
            return hasFolder = false, 0;
        });
    }
    void pause(std::chrono::milliseconds /*time*/) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

  private:
    static int succeed() { return 0; }
    Error at(std::string_view call, const std::function<int()>& action = succeed) {
        const int failure = before(call);
        if (failure != 0 && failure < done) return {failure, std::generic_category()};
        const int result = action();
        return {failure == 0 ? result : failure - done, std::generic_category()};
    }
    int open(std::string_view call, Error& error, const std::function<FilePointer()>& file) {
        const int number = descriptors_ + 1;
        error = at(call, [&] { return (files_[number] = file()) ? 0 : ENOENT; });
        return error ? -1 : ++descriptors_;
    }
    FilePointer newFile() {
        auto file = std::make_shared<File>();
        // At once the number of a file that is gone, as real ones do.
        const auto isFree = [](const std::weak_ptr<File>& it) { return it.expired(); };
        const auto inode = std::find_if(inodes_.begin(), inodes_.end(), isFree);
        file->inode = static_cast<ino_t>(inode - inodes_.begin() + 1);
        if (inode == inodes_.end()) inodes_.emplace_back();
        inodes_[file->inode - 1] = file;
        file->list = inheritedList;
        return file;
    }
    FilePointer find(Path path) {
        const auto found = names.find(path.filename());
        return path.parent_path() == "/folder" && found != names.end() ? found->second : nullptr;
    }
    FilePointer named(Path path, FilePointer file) {
        if (!hasFolder) return nullptr;
        names[path.filename()] = file;
        file->changed = ++time_;
        history.push_back(names);
        return file;
    }
    int move(Path from, Path to) {
        if (!find(from)) return ENOENT;
        named(to, names.extract(from.filename()).mapped());
        return 0;
    }
    static int fill(struct stat& status, const FilePointer& file) {
        status.st_mode = S_IFREG | file->mode;
        status.st_uid = file->owner;
        status.st_gid = file->group;
        status.st_size = static_cast<off_t>(file->bytes.size());
        status.st_ino = file->inode;
        status.st_mtime = file->modified;
        status.st_ctime = file->changed;
        return 0;
    }

    std::map<int, FilePointer> files_;
    FilePointer root_ = std::make_shared<File>();
    FilePointer folder_ = std::make_shared<File>();
    int descriptors_ = 0;
    std::vector<std::weak_ptr<File>> inodes_;
    time_t time_ = 0;
};

}  // namespace tovra::support
