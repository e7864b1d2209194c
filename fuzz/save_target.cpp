// The save: the first byte says what there is and what the file system can, the others which calls
// fail, and when another program saves. The data file is a whole one all the time, no version is
// lost, and the answer says what is true.
#include "fuzz/support.h"
#include "support/save_trial.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tovra::support::EnvironmentScope path("TOVRA_DATA_FILE", "/folder/data.json");
    if (size == 0) return 0;
    const std::string_view script = tovra::fuzz::textOf(data, size).substr(1);
    const std::string fault = tovra::support::trySave(data[0], script).fault;
    tovra::fuzz::require(fault.empty(), fault);
    return 0;
}
