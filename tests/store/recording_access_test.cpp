// Who may read and write the file after a recording, whoever owned it before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <vector>

#include "support/folder_model.h"
#include "support/save_trial.h"
#include "tests/support/table.h"

namespace tovra {
namespace {

using support::FolderModel;
using support::outcome;

const std::string kFile = "data.json";
const std::string kBefore = R"({"theirs":0})";
const std::string kAfter = "{\n  \"mine\" : 7,\n  \"theirs\" : 0\n}";

class RecordingAccess : public testing::Test {
    const support::EnvironmentScope path_{"TOVRA_DATA_FILE", "/folder/data.json"};
};

// Who may do what: the bits of a mode's digit.
struct Person {
    uid_t user;
    std::vector<gid_t> groups;
};

unsigned rightsOf(const Person& person, const FolderModel::File& file) {
    if (person.user == file.owner) return file.mode >> 6 & 7U;
    const auto& groups = person.groups;
    const bool isMember = std::find(groups.begin(), groups.end(), file.group) != groups.end();
    return file.mode >> (isMember ? 3 : 0) & 7U;
}

// Nobody but this user (1000) has a right to one of the files and not to the other one.
void expectNobodyGains(const FolderModel::File& file, const FolderModel::File& than) {
    for (const Person& person : {Person{1, {1}},
                                 {2, {1}},
                                 {3, {2}},
                                 {4, {1000}},
                                 {5, {}},
                                 {6, {1, 1000}},
                                 {7, {2, 1000}}}) {
        const unsigned gained = rightsOf(person, file) & ~rightsOf(person, than);
        EXPECT_EQ(gained, 0U) << "user " << person.user;
    }
}

std::string inWords(const FolderModel::File& file) {
    std::ostringstream text;
    text << file.owner << ':' << file.group << ' ' << std::oct << file.mode;
    if (!file.list.empty()) text << ' ' << file.list;
    return text.str();
}

// As a user who may do what `can` says.
std::string recordInto(const FolderModel::File& original, const std::string& can) {
    FolderModel model;
    model.inheritedList = "inherited";
    FolderModel::File& file = model.put(kFile, kBefore);
    const ino_t inode = file.inode;
    file = original;
    file.inode = inode;
    file.bytes = file.onDisk = kBefore;
    bool isWritten = false;
    model.before = [&](std::string_view call) {
        isWritten = isWritten || call == "write";
        for (const auto& [name, now] : model.names) {
            if (name == kFile) continue;
            // Until then it is its owner's alone.
            if (isWritten || (now->mode & 077) != 0) expectNobodyGains(*now, original);
            EXPECT_FALSE(isWritten && now->list == model.inheritedList);
        }
        if (call == "owner" && can.find("chown") == std::string::npos) return EPERM;
        if (call == "group" && can.find("chgrp") == std::string::npos) return EPERM;
        if (call == "access list" && can.find("nolist") != std::string::npos) return ENOTSUP;
        return call == "may write" && can.find("write") == std::string::npos ? EACCES : 0;
    };
    const std::string said = outcome(model);
    EXPECT_EQ(model.bytes(kFile), said == "done" ? kAfter : kBefore);
    if (said != "done") return said;
    expectNobodyGains(*model.names.at(kFile), original);
    expectNobodyGains(original, *model.names.at(kFile));
    return inWords(*model.names.at(kFile));
}

std::string recordRow(const test::Row& row) {
    FolderModel::File file;
    char colon = 0;
    std::istringstream(row[1]) >> file.owner >> colon >> file.group >> std::oct >> file.mode;
    if (row[2] == "list") file.list = "list";
    return recordInto(file, row[3]);
}

TEST_F(RecordingAccess, IsNeitherGivenNorTaken) {
    test::expectTable("store/golden/owners.txt", {{"record", recordRow}});
}

TEST_F(RecordingAccess, IsNeitherGivenNorTakenForAnyMode) {
    int done = 0;
    for (mode_t mode = 0; mode < 0666; ++mode) {
        if ((mode & 0111) != 0) continue;
        for (const uid_t owner : {1, 1000}) {
            for (const gid_t group : {1, 2, 1000}) {
                for (const char* can : {"chown chgrp write", "chgrp write", "chgrp", ""}) {
                    FolderModel::File file;
                    file.mode = mode;
                    file.owner = owner;
                    file.group = group;
                    if (!recordInto(file, can).starts_with("The")) ++done;
                }
            }
        }
    }
    EXPECT_GT(done, 500);
}

}  // namespace
}  // namespace tovra
