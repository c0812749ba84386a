// What the manager prints: documents on standard output, everything else on standard error.
#pragma once

#include "commandLine.h"
#include "managerError.h"

#include <string_view>

namespace manager {

// A line on standard error.
void say(std::string_view line);

// Prints documents as they came, as tables or as JSON; what cannot be read is remembered.
class Printer {
  public:
    explicit Printer(Output output) : form(output) {}

    void showReply(std::string_view reply) const;
    void show(std::string_view text);
    // A document that answers an earlier request.
    void showStray(std::string_view text) const;
    static void showSharing();

    // How the program ends for what was printed. That its reader has gone is no failure.
    ExitStatus status() const;

  private:
    void showUnreadable(std::string_view text, std::string_view reason);

    Output form;
    bool complete = true;
};

} // namespace manager
