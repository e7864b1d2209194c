// What the hosts on this machine are configured to start, or to reach.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "check/findings.h"
#include "store/data_file.h"

namespace tovra::check {

// One entry of a host's configuration that is ours, or a configuration that cannot be read.
struct HostEntry {
    std::string host;
    std::filesystem::path file;
    std::string name;                          // of the entry; empty where the file cannot be read
    std::string starts;                        // the command, or the address
    std::optional<DataFileLocation> dataFile;  // that the server would use which it starts
    std::vector<Finding> findings;
};

// The entries in the configuration files of the hosts in docs/hosts.md, as far as they exist below
// the home directory and in the current folder. Never writes. Several threads may call it, as long
// as none of them changes the environment.
[[nodiscard]] std::vector<HostEntry> lookAtHosts();

}  // namespace tovra::check
