#include "terminal/watchScreen.h"

#include "text/displayText.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <langinfo.h>
#include <ncurses.h>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace manager {
namespace {

constexpr int rowsAbove = 4; // status, heading, an empty line, titles
constexpr int rowsBelow = 1; // the keys
constexpr int escapeMilliseconds = 25;
constexpr const char* blank = "  "; // where a mark might be, and between columns
constexpr const char* keys =
    "q quit  left/right sort by  r reverse  space pause  c clear gone  up/down scroll";

int rowsOfTable() {
    return std::max(0, LINES - rowsAbove - rowsBelow);
}

void line(int row, const std::string& text, attr_t look = A_NORMAL) {
    if (row >= 0 && row < LINES) {
        attrset(static_cast<int>(look));
        mvaddstr(row, 0, cutToWidth(text, static_cast<std::size_t>(COLS)).c_str());
        attrset(A_NORMAL);
    }
}

std::vector<std::size_t> widthsOf(const WatchedTable& table) {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.titles().size(); ++column) {
        widths.push_back(displayWidth(table.titles()[column]) + 1); // and the mark of the sorted one
        for (const WatchedRow& row : table.rows()) {
            widths.back() = std::max(widths.back(), displayWidth(row.cells[column].text));
        }
    }
    return widths;
}

// A look beside the text itself, so that nothing is told by it alone: what is new has a "+", what has gone
// its time.
attr_t lookOf(const WatchedRow& row, const WatchedCell& cell) {
    return row.goneAt ? A_DIM : row.isNew || cell.changed ? A_BOLD : A_NORMAL;
}

void addClipped(const std::string& text, attr_t look) {
    const int left = COLS - getcurx(stdscr);
    if (left > 0) {
        attrset(static_cast<int>(look));
        addstr(cutToWidth(text, static_cast<std::size_t>(left)).c_str());
        attrset(A_NORMAL);
    }
}

void showRow(int place, const WatchedRow& row, const WatchedTable& table,
             const std::vector<std::size_t>& widths) {
    move(place, 0);
    addClipped(row.goneAt ? "- " : row.isNew ? "+ " : blank, A_NORMAL);
    for (std::size_t column = 0; column < widths.size(); ++column) {
        const WatchedCell& cell = row.cells[column];
        // The end of the line is where the cursor would go to the next one.
        if (getcury(stdscr) != place || getcurx(stdscr) >= COLS - 1) {
            return;
        }
        addClipped(padded(cell.text, widths[column], table.alignment(column)), lookOf(row, cell));
        addClipped(blank, A_NORMAL);
    }
    if (row.goneAt && getcury(stdscr) == place) {
        addClipped("gone at " + *row.goneAt, A_DIM);
    }
}

} // namespace

WatchScreen::WatchScreen() {
    // For the terminal's characters, which are taken for UTF-8 whatever the locale says.
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    if (newterm(nullptr, stdout, stdin) == nullptr) {
        throw std::runtime_error("the terminal is of no known type");
    }
    cbreak();
    noecho();
    curs_set(0);
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(escapeMilliseconds);
}

WatchScreen::~WatchScreen() {
    endwin();
}

void WatchScreen::show(const WatchedTable& table, const std::string& status) {
    erase();
    line(0, status + (paused ? "  (paused)" : ""), A_DIM);
    line(1, table.heading(), A_BOLD);
    if (!table.titles().empty()) {
        showRows(table);
    }
    line(LINES - 1, keys, A_DIM);
    refresh();
}

void WatchScreen::showRows(const WatchedTable& table) {
    const int count = static_cast<int>(table.rows().size());
    firstRow = std::clamp(firstRow, 0, std::max(0, count - rowsOfTable()));
    const std::vector<std::size_t> widths = widthsOf(table);
    std::string titles = blank;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        const char* mark = table.sortedBy() != column ? "" : table.isReversed() ? "^" : "v";
        titles += padded(table.titles()[column] + mark, widths[column], table.alignment(column)) + blank;
    }
    line(rowsAbove - 1, titles, A_UNDERLINE);
    const int shown = std::min(count - firstRow, rowsOfTable());
    const auto rows = std::span(table.rows()).subspan(static_cast<std::size_t>(firstRow));
    for (int row = 0; row < shown; ++row) {
        showRow(rowsAbove + row, rows[static_cast<std::size_t>(row)], table, widths);
    }
    const int below = count - firstRow - shown;
    if (firstRow > 0 || below > 0) {
        line(2, std::to_string(firstRow) + " rows above, " + std::to_string(below) + " below", A_DIM);
    }
}

bool WatchScreen::takeKeys(WatchedTable& table) {
    for (int key = getch(); key != ERR; key = getch()) {
        switch (key) {
        case 'q':
            return false;
        case 'r':
            table.reverseOrder();
            break;
        case 'c':
            table.forgetGone();
            break;
        case ' ':
            paused = !paused;
            break;
        case KEY_RIGHT:
            table.sortByNext();
            break;
        case KEY_LEFT:
            table.sortByPrevious();
            break;
        case KEY_DOWN:
            ++firstRow;
            break;
        case KEY_UP:
            --firstRow;
            break;
        case KEY_NPAGE:
            firstRow += rowsOfTable();
            break;
        case KEY_PPAGE:
            firstRow -= rowsOfTable();
            break;
        default:
            break;
        }
    }
    return true;
}

} // namespace manager
