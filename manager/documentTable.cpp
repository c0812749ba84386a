#include "documentTable.h"

#include "displayText.h"
#include "textTable.h"

#include "companions/json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

namespace manager {
namespace {

using companions::Json;
using companions::textOf;

constexpr std::string_view none = "-";

std::string trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return std::string(text);
}

// A number of 0 stands for "none" in the references of a PID; an empty name is shown as none, too.
std::string orNone(std::string_view text) {
    return std::string(text == "0" || text.empty() ? none : text);
}

std::string yesNo(std::string_view text) {
    return std::string(text == "0" ? "no" : text == "1" ? "yes" : text);
}

std::string hexadecimal(std::string_view decimal) {
    std::uint32_t value = 0;
    if (std::from_chars(decimal.data(), decimal.data() + decimal.size(), value).ec != std::errc{}) {
        return std::string(none);
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%04X", value);
    return text.data();
}

// EN 300 468, service_type of the service descriptor; a type without a row is shown as its number.
std::string serviceType(std::string_view code) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 12> names{{
        {"1", "TV"},
        {"2", "radio"},
        {"3", "teletext"},
        {"10", "radio"},
        {"12", "data"},
        {"16", "DVB MHP"},
        {"17", "TV HD"},
        {"22", "TV SD"},
        {"25", "TV HD"},
        {"28", "TV HD 3D"},
        {"31", "TV HEVC"},
        {"32", "TV HEVC UHD"},
    }};
    for (const auto& [number, name] : names) {
        if (number == code) {
            return std::string(name);
        }
    }
    return std::string(code);
}

// "3 programs", and how many of them the document holds when it was too long for all.
std::string counted(const json_t* list, std::string_view count, const std::string& thing) {
    const std::string shown = std::to_string(json_array_size(list));
    const std::string all = displayable(count) + ' ' + thing + (count == "1" ? "" : "s");
    return shown == count ? all : all + " (the document has room for " + shown + ')';
}

std::string pidListTable(const json_t* pidData) {
    const json_t* const pids = json_object_get(pidData, "pids");
    TextTable table({{"PID", Align::right},
                     {"hex", Align::left},
                     {"type", Align::left},
                     {"program", Align::right},
                     {"index", Align::right},
                     {"PMT PID", Align::right},
                     {"rate", Align::right},
                     {"scrambled", Align::left}});
    std::size_t position = 0;
    const json_t* pid = nullptr;
    json_array_foreach(pids, position, pid) {
        const bool ofProgram = textOf(pid, "pgmNum") != "0";
        table.addRow({std::string(textOf(pid, "pidNum")), hexadecimal(textOf(pid, "pidNum")),
                      orNone(textOf(pid, "description")), orNone(textOf(pid, "pgmNum")),
                      std::string(ofProgram ? textOf(pid, "patIndex") : none),
                      orNone(textOf(pid, "referencePID")), trimmed(textOf(pid, "pidRate")),
                      yesNo(textOf(pid, "scrambled"))});
    }
    return "PID list: " + counted(pids, textOf(pidData, "pidCount"), "PID") + ", " +
           trimmed(displayable(textOf(pidData, "aggStreamRate"))) + "\n\n" + table.text();
}

std::string programListTable(const json_t* pgmData) {
    const json_t* const programs = json_object_get(pgmData, "pgms");
    TextTable table({{"program", Align::right},
                     {"index", Align::right},
                     {"service", Align::left},
                     {"provider", Align::left},
                     {"type", Align::left},
                     {"PMT PID", Align::right},
                     {"PIDs", Align::right},
                     {"rate", Align::right},
                     {"CA", Align::left},
                     {"scrambled", Align::left}});
    std::size_t position = 0;
    const json_t* program = nullptr;
    json_array_foreach(programs, position, program) {
        table.addRow({std::string(textOf(program, "pgmNum")), std::string(textOf(program, "patIndex")),
                      orNone(textOf(program, "svcName")), orNone(textOf(program, "svcProvider")),
                      serviceType(textOf(program, "svcType")), std::string(textOf(program, "referencePID")),
                      std::string(textOf(program, "pidCount")), trimmed(textOf(program, "pgmRate")),
                      yesNo(textOf(program, "caFlag")), yesNo(textOf(program, "allScrambled"))});
    }
    const bool derived = textOf(pgmData, "derived") == "1";
    return "Program list: " + counted(programs, textOf(pgmData, "svcCount"), "program") + ", " +
           displayable(textOf(pgmData, "scrambledCount")) + " scrambled, " +
           trimmed(displayable(textOf(pgmData, "aggStreamRate"))) +
           (derived ? " (the stream has no SDT: the names are made from the PAT)" : "") + "\n\n" +
           table.text();
}

struct TableForm {
    const char* dataStream;
    const char* list; // the array without which a document has no table
    std::string (*make)(const json_t*);
};

constexpr std::array<TableForm, 2> tableForms{{
    {"pidData", "pids", pidListTable},
    {"pgmData", "pgms", programListTable},
}};

} // namespace

DocumentTable makeDocumentTable(std::string_view document) {
    // Between its tokens a document has no white space, so what cannot be displayed can only stand in a name.
    constexpr std::string_view jsonBackslash = R"(\\)";
    const std::string text = displayable(document, jsonBackslash);
    json_error_t error{};
    const Json root(json_loadb(text.data(), text.size(), 0, &error));
    if (!root) {
        return {{}, std::string("the document is not valid JSON (") + displayable(error.text) + ')'};
    }
    for (const TableForm& form : tableForms) {
        const json_t* const body = json_object_get(root.get(), form.dataStream);
        if (json_is_array(json_object_get(body, form.list))) {
            return {form.make(body), {}};
        }
    }
    return {{}, "only the PID list (pidData) and the program list (pgmData) have a table form"};
}

std::string_view documentStream(std::string_view document) {
    constexpr std::string_view head = R"({"requestReply":"dataStream","dataStream":")";
    if (!document.starts_with(head)) {
        return {};
    }
    document.remove_prefix(head.size());
    return document.substr(0, document.find('"'));
}

} // namespace manager
