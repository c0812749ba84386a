#include "companions/commandLine.h"

#include "companions/trouble.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>

namespace companions {
namespace {

// Names, types and what each is for. What needs and excludes what is told when it is missed: CLI11 lists it
// in another order each time.
class Help : public CLI::Formatter {
    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_type_name().empty() ? "" : ' ' + option->get_type_name();
    }
};

// CLI11 takes the next argument for the value behind "--name=", and "--flag=true" for the flag.
void requireValues(const CLI::App& app, std::span<const char* const> arguments) {
    for (const std::string_view argument : arguments) {
        const std::string name(argument.substr(0, argument.find('=')));
        if (argument == "--") {
            return;
        }
        if (!argument.starts_with("--") || name.size() == argument.size()) {
            continue;
        }
        const CLI::Option* const option = app.get_option_no_throw(name);
        if (option != nullptr && option->get_expected_max() == 0) {
            throw CLI::ArgumentMismatch(name + " takes no value");
        }
        if (argument.ends_with('=')) {
            throw CLI::ArgumentMismatch(name + " has no value");
        }
    }
}

// CLI11 answers before it looks at what it did not understand.
void requireNothingElse(const CLI::App& app) {
    if (app.remaining_size() > 0) {
        throw CLI::ExtrasError(app.remaining());
    }
}

} // namespace

CLI::Validator wholeNumber(int least, int most) {
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    // Gives CLI11 the number without leading zeros, which it would take for an octal one.
    return {[least, most, range](std::string& text) {
                int value = 0;
                const char* const end = text.data() + text.size();
                const auto [stop, error] = std::from_chars(text.data(), end, value);
                if (error != std::errc{} || stop != end || value < least || value > most) {
                    return "Value " + text + " not in range " + range;
                }
                text = std::to_string(value);
                return std::string();
            },
            ""};
}

bool readCommandLine(CLI::App& app, int argumentCount, const char* const* arguments,
                     const std::string& expected) {
    app.set_help_flag("-h,--help", "Print this text and exit");
    app.set_version_flag("--version", app.get_name() + " " MPEGFE_VERSION, "Print the version and exit");
    app.formatter(std::make_shared<Help>());
    try {
        requireValues(app, std::span(arguments, static_cast<std::size_t>(std::max(0, argumentCount))));
        try {
            app.parse(argumentCount, arguments);
        } catch (const CLI::Success& helpOrVersion) {
            requireNothingElse(app);
            app.exit(helpOrVersion);
            return false;
        }
    } catch (const CLI::ParseError& error) {
        throw Failure(wrongUsage,
                      {"the command line is wrong", expected, std::string("an error: ") + error.what(),
                       "see " + app.get_name() + " --help"});
    }
    return true;
}

} // namespace companions
