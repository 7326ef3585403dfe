#include "host/commands/ArgumentChecks.h"

namespace velnor::host {

CLI::Validator notEmpty() {
    return CLI::Validator(
        [](const std::string& word) {
            return word.empty() ? std::string("the name is empty") : std::string();
        },
        "");
}

CLI::Validator numberWithin(double least, double most, const std::string& text) {
    return CLI::Validator(
        [=](const std::string& word) {
            double value = 0.0;
            const bool fits =
                CLI::detail::lexical_cast(word, value) && value >= least && value <= most;
            return fits ? std::string() : word + ": give " + text;
        },
        "");
}

} // namespace velnor::host
