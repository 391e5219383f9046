// Files of the state directory. They are only ever replaced by rename, so a hard link to one stays whole unless
// somebody else writes into it; then both are lost.
//
// A document is text followed by one line, "#gw length=N txid=N time=N comment=TEXT hash=H", where the hash (FNV-1a, 64
// bit) covers all bytes before it: a file that is cut, empty or changed is noticed.
#ifndef GW_AGENT_PERSIST_H
#define GW_AGENT_PERSIST_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace agent {

inline constexpr std::size_t max_comment = 200; // bytes

struct Stamp {
    std::uint64_t txid = 0;
    std::int64_t time = 0; // seconds since the epoch
    std::string comment;   // made printable and cut when written
};

struct Document {
    Stamp stamp;
    std::string text;
};

std::string with_trailer(const Document &document);
bool split_trailer(std::string_view file, Document *document, std::string *why);

enum class Sync : std::uint8_t { none, file };

enum class Found : std::uint8_t { whole, missing, damaged };

// Writes `name`.new and, with Sync::file, waits for the disk. The file is not in its place yet.
bool write_new(const std::string &dir, const std::string &name, const std::string &bytes, Sync sync,
               std::string *error);
// Moves `name`.new to `name`.
bool put_in_place(const std::string &dir, const std::string &name, std::string *error);
// Both; `name` holds the old bytes or the new ones whatever happens.
bool replace_file(const std::string &dir, const std::string &name, const std::string &bytes, Sync sync,
                  std::string *error);
// `to` becomes another name of `from`, in place of what it named before.
bool link_file(const std::string &dir, const std::string &from, const std::string &to, std::string *error);
// Waits until the names in the directory are on disk.
bool sync_directory(const std::string &dir);

Found read_file(const std::string &path, std::string *bytes, std::string *why);
Found read_document(const std::string &dir, const std::string &name, Document *document, std::string *why);
bool has_file(const std::string &dir, const std::string &name);
void remove_file(const std::string &dir, const std::string &name);
// Renames a file that cannot be used to `name`.bad-N, so that somebody can look at it.
void keep_aside(const std::string &dir, const std::string &name);
std::vector<std::string> list_files(const std::string &dir);

} // namespace agent

#endif
