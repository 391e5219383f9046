#include "cli/table.h"

#include <algorithm>

#include "protocol/value.h"

namespace cli {

namespace {

constexpr std::size_t gap = 2;
constexpr const char *blanks = " \t\r\n";

std::string cell(std::string_view text)
{
    text.remove_suffix(text.size() - (text.find_last_not_of(blanks) + 1));
    return text.empty() ? "-" : proto::printable(text);
}

void append_padded(const std::string &text, std::size_t width, bool right, std::string *out)
{
    const std::size_t pad = width - std::min(width, display_width(text));
    if (right) out->append(pad, ' ');
    out->append(text);
    if (!right) out->append(pad, ' ');
}

std::string line_of(const Row &row, const std::vector<Heading> &headings, const std::vector<std::size_t> &widths)
{
    std::string line;
    for (std::size_t i = 0; i < headings.size(); i++) {
        if (i > 0) line.append(gap, ' ');
        append_padded(row[i], widths[i], headings[i].right, &line);
    }
    trim_right(&line);
    return line + "\n";
}

} // namespace

void trim_right(std::string *text)
{
    text->erase(text->find_last_not_of(blanks) + 1);
}

std::size_t display_width(std::string_view text)
{
    const auto starts = [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), starts));
}

std::string grid(const std::vector<Heading> &headings, const std::vector<Row> &rows)
{
    std::vector<Row> cells(1);
    for (const Heading &heading : headings)
        cells.front().push_back(heading.text);
    for (const Row &row : rows) {
        cells.emplace_back();
        for (const std::string &text : row)
            cells.back().push_back(cell(text));
    }
    std::vector<std::size_t> widths(headings.size());
    for (const Row &row : cells) {
        for (std::size_t i = 0; i < widths.size(); i++)
            widths[i] = std::max(widths[i], display_width(row[i]));
    }
    std::string out;
    for (const Row &row : cells)
        out += line_of(row, headings, widths);
    return out;
}

std::string fields(const std::vector<Field> &list, std::size_t indent)
{
    std::size_t width = 0;
    for (const Field &field : list)
        width = std::max(width, display_width(field.name));
    std::string out;
    for (const Field &field : list) {
        out.append(indent, ' ');
        append_padded(field.name, width + gap, false, &out);
        out += cell(field.value) + "\n";
    }
    return out;
}

} // namespace cli
