// Tables of cases that are kept as text files. A case stands on a line: the name of an operation,
// what it is given, and last what has to come out. Between the columns stands " | ", "%0A" is the
// byte 0x0A; empty lines and those that begin with # are skipped.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "support/test_environment.h"

namespace tovra::test {

// The columns of a case, the operation's name first.
using Row = std::vector<std::string>;
using Operations = std::map<std::string, std::string (*)(const Row&)>;

inline Row columnsOf(const std::string& line) {
    Row row;
    for (std::size_t from = 0, to = 0; to != std::string::npos; from = to + 3) {
        to = line.find(" | ", from);
        std::string& column = row.emplace_back(line.substr(from, to - from));
        for (std::size_t i = 0; (i = column.find('%', i)) != std::string::npos; ++i) {
            column.replace(i, 3, 1, char(std::stoi(column.substr(i + 1, 2), nullptr, 16)));
        }
    }
    return row;
}

// Does what each line of a file below tests/ says.
inline void expectTable(const std::string& name, const Operations& operations) {
    const std::string path = TOVRA_TESTS "/" + name;
    std::ifstream file(path);
    ASSERT_TRUE(file) << path;
    int number = 0;
    for (std::string line; ++number, std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        const testing::ScopedTrace trace(path.c_str(), number, line.substr(0, 500));
        const Row row = columnsOf(line);
        ASSERT_TRUE(operations.contains(row[0]) && row.size() > 2);
        EXPECT_EQ(operations.at(row[0])(row), row.back());
    }
}

}  // namespace tovra::test
