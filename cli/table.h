// Aligned text. Cells are shown through proto::printable and without trailing white space; a column is as wide as its
// widest cell; no line ends in blanks.
#ifndef GW_CLI_TABLE_H
#define GW_CLI_TABLE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

// In terminal columns, counting one for every UTF-8 sequence.
std::size_t display_width(std::string_view text);

void trim_right(std::string *text); // white space

struct Heading {
    std::string text;
    bool right = false; // numbers
};

using Row = std::vector<std::string>;

// Rows are as long as the headings. An empty cell shows as "-".
std::string grid(const std::vector<Heading> &headings, const std::vector<Row> &rows);

struct Field {
    std::string name;
    std::string value;
};

// One per line: the names padded to the longest, two blanks, the value.
std::string fields(const std::vector<Field> &list, std::size_t indent);

} // namespace cli

#endif
