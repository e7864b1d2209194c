// <target> FOLDER
//
// Runs a fuzz target on every file of a folder, for builds without libFuzzer. What does not hold
// aborts; the name that was printed last is the file's.
#include <filesystem>
#include <iostream>

#include "fuzz/support.h"
#include "support/test_environment.h"

int main(int argc, char** argv) {
    int count = 0;
    if (argc == 2) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
            std::cout << entry.path().filename() << std::endl;
            const std::string bytes = tovra::support::fileBytes(entry.path());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++count;
        }
    }
    return count > 0 ? 0 : 1;
}
