// Why a save failed, and what it has left behind.
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace tovra {

// How things are after a save that failed.
enum class After {
    unchanged,  // as they were
    leftovers,  // the file is as it was, but a temporary file or a new folder stays
    unknown,    // the file may be the new one
};

// The one exception of a save. Its text is a whole sentence or two. It ends with "Nothing was
// changed." where that is certain.
class SaveError : public std::runtime_error {
  public:
    // `problem` is without its full stop.
    explicit SaveError(const std::string& problem, After after = After::unchanged)
        : std::runtime_error(problem + ending(after)), problem_(problem), after_(after) {}
    explicit SaveError(std::error_code reason, After after = After::unchanged)
        : SaveError(reason.message(), after) {}

    [[nodiscard]] const std::string& problem() const { return problem_; }
    [[nodiscard]] After after() const { return after_; }

  private:
    static const char* ending(After after) {
        switch (after) {
            case After::unchanged:
                return ". Nothing was changed.";
            case After::leftovers:
                return ".";
            case After::unknown:
                return ". It may have been recorded all the same: look before you try again.";
        }
        return ".";
    }

    std::string problem_;
    After after_;
};

// Throws the error, if it is one.
inline void throwIf(const std::error_code& error) {
    if (error) throw SaveError(error);
}

}  // namespace tovra
