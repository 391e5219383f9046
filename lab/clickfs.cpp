// clickfs: a mount that behaves like the data plane's control files. Reading answers the handler's text as of open();
// a write handler runs synchronously with close(), may refuse, and is logged in order.
#define FUSE_USE_VERSION 35

#include "lab/click_handlers.h"
#include "lab/click_tree.h"
#include "lab/escape.h"

#include <fcntl.h>
#include <fuse.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

constexpr size_t max_write = 1U << 20; // bytes of one open-write-close

struct ClickFs {
    ClickTree tree;
    std::string mount_point;
    int log = -1;
};

// One open(). Dirty from a write until the flush that hands the text to the handler: a shell's redirection closes
// duplicates of the descriptor, so flushes without anything written come in between.
struct OpenFile {
    std::string path;
    std::string text;
    bool dirty = false;
};

ClickFs &current_fs()
{
    return *static_cast<ClickFs *>(fuse_get_context()->private_data);
}

OpenFile &open_file(const fuse_file_info *info)
{
    return *reinterpret_cast<OpenFile *>(info->fh);
}

int click_getattr(const char *path, struct stat *st, fuse_file_info *)
{
    const auto &tree = current_fs().tree;
    const auto node = tree.find(std::string_view(path));
    *st = {};
    st->st_uid = getuid();
    st->st_gid = getgid();
    if (node != tree.end()) {
        const unsigned mode = (node->second.readable ? 0444U : 0U) | (node->second.writable ? 0222U : 0U);
        st->st_mode = S_IFREG | mode;
        st->st_nlink = 1;
        st->st_size = static_cast<off_t>(node->second.value.size()); // what sendfile(), hence busybox cat, goes by
        return 0;
    }
    st->st_mode = S_IFDIR | 0555U;
    st->st_nlink = 2;
    return is_click_dir(tree, path) ? 0 : -ENOENT;
}

int click_readdir(const char *path, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *, fuse_readdir_flags)
{
    fill(buffer, ".", nullptr, 0, {});
    fill(buffer, "..", nullptr, 0, {});
    for (const auto &name : list_click_dir(current_fs().tree, path)) {
        fill(buffer, name.c_str(), nullptr, 0, {});
    }
    return 0;
}

int click_open(const char *path, fuse_file_info *info)
{
    const auto &tree = current_fs().tree;
    const auto node = tree.find(std::string_view(path));
    if (node == tree.end()) {
        return -ENOENT;
    }
    const int access = info->flags & O_ACCMODE;
    if ((access != O_WRONLY && !node->second.readable) || (access != O_RDONLY && !node->second.writable)) {
        return -EACCES;
    }
    auto file = std::make_unique<OpenFile>();
    file->path = path;
    file->text = access == O_RDONLY ? node->second.value : "";
    info->fh = reinterpret_cast<uint64_t>(file.release());
    info->direct_io = 1; // read() answers the text as of open() even if the size has changed since
    return 0;
}

int click_read(const char *, char *buffer, size_t size, off_t offset, fuse_file_info *info)
{
    const auto &file = open_file(info);
    const auto start = std::min(static_cast<size_t>(offset), file.text.size());
    return static_cast<int>(file.text.copy(buffer, size, start));
}

// Takes what is written as a stream, whatever the offset: appending would begin at the old text's size.
int click_write_part(const char *, const char *buffer, size_t size, off_t, fuse_file_info *info)
{
    auto &file = open_file(info);
    if (file.text.size() + size > max_write) {
        return -EFBIG;
    }
    file.text.append(buffer, size);
    file.dirty = true;
    return static_cast<int>(size);
}

void log_write(const ClickFs &fs, const OpenFile &file, int result)
{
    auto text = std::string_view(file.text);
    text.remove_suffix(text.ends_with('\n') ? 1 : 0);
    auto line = fs.mount_point + file.path + " <- " + escape_line(text);
    line += result == 0 ? "\n" : std::string(" (refused: ") + strerror(-result) + ")\n";
    (void)!write(fs.log, line.data(), line.size());
}

int click_flush(const char *, fuse_file_info *info)
{
    auto &file = open_file(info);
    if (!file.dirty) {
        return 0;
    }
    file.dirty = false;
    auto &fs = current_fs();
    const int result = click_write(fs.tree, file.path, file.text);
    log_write(fs, file, result);
    return result;
}

int click_release(const char *, fuse_file_info *info)
{
    delete &open_file(info);
    return 0;
}

// Redirections truncate; the handler's text is replaced by what is written anyway.
int click_truncate(const char *path, off_t, fuse_file_info *)
{
    return current_fs().tree.contains(std::string_view(path)) ? 0 : -ENOENT;
}

fuse_operations click_operations()
{
    fuse_operations ops{};
    ops.getattr = click_getattr;
    ops.readdir = click_readdir;
    ops.open = click_open;
    ops.read = click_read;
    ops.write = click_write_part;
    ops.flush = click_flush;
    ops.release = click_release;
    ops.truncate = click_truncate;
    return ops;
}

bool load_tree(const char *path, ClickTree &tree)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    std::string error;
    if (!file || !parse_click_tree(text.str(), tree, error)) {
        (void)fprintf(stderr, "clickfs: cannot use %s: %s\n", path, error.empty() ? "unreadable" : error.c_str());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        (void)fprintf(stderr, "usage: clickfs MOUNT-POINT TREE-FILE LOG-FILE\n");
        return 2;
    }
    ClickFs fs;
    fs.mount_point = argv[1];
    fs.log = open(argv[3], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fs.log < 0 || !load_tree(argv[2], fs.tree)) {
        perror(argv[3]);
        return 1;
    }
    // One thread, so that handlers run in the order of the closes; no caching, so that values change under readers.
    char one_thread[] = "-s";
    char foreground[] = "-f";
    char options[] = "-oattr_timeout=0,entry_timeout=0";
    char *fuse_argv[] = {argv[0], one_thread, foreground, options, argv[1], nullptr};
    const auto ops = click_operations();
    return fuse_main(5, fuse_argv, &ops, &fs);
}
