// Texts that the simulated appliance takes: its tree of control files, what is written into one of them, and the memory
// of a module. The input is the tree's text up to a NUL, then the writes and the module's text.
#include "lab/click_handlers.h"
#include "lab/sfp_module.h"
#include "target.h"

namespace {

// Every file can be reached from the top.
void walk(const ClickTree &tree, const std::string &folder, std::size_t depth, std::size_t *files)
{
    for (const std::string &name : list_click_dir(tree, folder)) {
        const std::string path = (folder == "/" ? "" : folder) + "/" + name;
        *files += tree.contains(path) ? 1 : 0;
        if (depth < 40 && is_click_dir(tree, path)) walk(tree, path, depth + 1, files);
    }
}

void write_all(ClickTree tree, const std::string &text)
{
    const ClickTree before = tree;
    for (const auto &[path, node] : before) {
        const std::string old = tree[path].value;
        require(click_write(tree, path, text) == 0 || tree[path].value == old);
    }
}

} // namespace

void check(std::string_view input)
{
    const std::string text = take_until(&input, '\0');
    const std::string rest(input);
    ClickTree tree;
    std::string error;
    if (parse_click_tree(text, tree, error)) {
        std::size_t files = 0;
        walk(tree, "/", 0, &files);
        require(files <= tree.size());
        write_all(tree, rest);
    }
    SfpModule module = parse_module(rest);
    std::uint8_t bytes[8];
    if (begin_transfer(module) == 0) read_bytes(module, 0x50, bytes);
}
