#include "agent/persist.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "protocol/value.h"
#include "service/descriptor.h"
#include "service/log.h"
#include "service/text.h"

namespace agent {

namespace {

constexpr std::string_view hash_mark = " hash=";
constexpr std::size_t hash_digits = 16;
constexpr off_t max_file = 64L * 1024 * 1024;

std::uint64_t hash_of(std::string_view bytes)
{
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : bytes)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    return hash;
}

bool failed(std::string *error, const std::string &what)
{
    *error = what + ": " + strerror(errno);
    return false;
}

bool write_all(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t n = write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

} // namespace

std::string with_trailer(const Document &document)
{
    char numbers[96];
    snprintf(numbers, sizeof numbers,
             "\n#gw length=%zu txid=%" PRIu64 " time=%" PRId64 " comment=", document.text.size(), document.stamp.txid,
             document.stamp.time);
    std::string file =
        document.text + numbers + service::cut_text(proto::printable(document.stamp.comment), max_comment);
    char hash[hash_digits + 1];
    snprintf(hash, sizeof hash, "%016" PRIx64, hash_of(file));
    return file.append(hash_mark).append(hash).append("\n");
}

bool split_trailer(std::string_view file, Document *document, std::string *why)
{
    constexpr std::size_t tail = hash_mark.size() + hash_digits + 1;
    *why = file.empty() ? "it is empty" : "it is cut";
    if (file.size() <= tail || file.back() != '\n') return false;
    const std::string_view body = file.substr(0, file.size() - tail);
    char hash[hash_digits + 1];
    snprintf(hash, sizeof hash, "%016" PRIx64, hash_of(body));
    if (file.substr(body.size(), hash_mark.size()) != hash_mark) return false;
    *why = "its hash does not match";
    if (file.substr(body.size() + hash_mark.size(), hash_digits) != hash) return false;
    const std::size_t line = body.rfind("\n#gw ");
    *why = "its last line is none of ours";
    if (line == std::string_view::npos) return false;
    const std::string trailer(body.substr(line));
    std::size_t length = 0;
    int used = 0;
    if (sscanf(trailer.c_str(), "\n#gw length=%zu txid=%" SCNu64 " time=%" SCNd64 " comment=%n", // NOLINT(cert-err34-c)
               &length, &document->stamp.txid, &document->stamp.time, &used) != 3 ||
        used == 0 || length != line)
        return false;
    document->stamp.comment = trailer.substr(static_cast<std::size_t>(used));
    document->text = file.substr(0, length);
    why->clear();
    return true;
}

bool write_new(const std::string &dir, const std::string &name, const std::string &bytes, Sync sync, std::string *error)
{
    const std::string path = dir + "/" + name + ".new";
    const service::Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (file.fd < 0) return failed(error, "cannot create " + path);
    if (!write_all(file.fd, bytes) || (sync == Sync::file && fsync(file.fd) != 0)) {
        failed(error, "cannot write " + path);
        unlink(path.c_str());
        return false;
    }
    return true;
}

bool put_in_place(const std::string &dir, const std::string &name, std::string *error)
{
    const std::string path = dir + "/" + name;
    return rename((path + ".new").c_str(), path.c_str()) == 0 || failed(error, "cannot rename to " + path);
}

bool replace_file(const std::string &dir, const std::string &name, const std::string &bytes, Sync sync,
                  std::string *error)
{
    return write_new(dir, name, bytes, sync, error) && put_in_place(dir, name, error) &&
           (sync == Sync::none || sync_directory(dir));
}

bool link_file(const std::string &dir, const std::string &from, const std::string &to, std::string *error)
{
    const std::string source = dir + "/" + from;
    const std::string target = dir + "/" + to;
    if (link(source.c_str(), target.c_str()) == 0) return true;
    if (errno != EEXIST) return failed(error, "cannot link " + source + " to " + target);
    struct stat old {};
    struct stat wanted {};
    const bool same = stat(source.c_str(), &wanted) == 0 && stat(target.c_str(), &old) == 0 &&
                      wanted.st_dev == old.st_dev && wanted.st_ino == old.st_ino;
    if (same) return true; // rename would leave both names
    unlink((target + ".new").c_str());
    if (link(source.c_str(), (target + ".new").c_str()) == 0) return put_in_place(dir, to, error);
    return failed(error, "cannot link " + source + " to " + target);
}

bool sync_directory(const std::string &dir)
{
    const service::Descriptor opened(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.fd >= 0 && fsync(opened.fd) == 0;
}

Found read_file(const std::string &path, std::string *bytes, std::string *why)
{
    const service::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0 && errno == ENOENT) return Found::missing;
    struct stat info {};
    *why = "it cannot be read";
    if (file.fd < 0 || fstat(file.fd, &info) != 0 || info.st_size > max_file) return Found::damaged;
    bytes->resize(static_cast<std::size_t>(info.st_size));
    std::size_t have = 0;
    while (have < bytes->size()) {
        const ssize_t n = read(file.fd, bytes->data() + have, bytes->size() - have);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return Found::damaged;
        have += static_cast<std::size_t>(n);
    }
    why->clear();
    return Found::whole;
}

Found read_document(const std::string &dir, const std::string &name, Document *document, std::string *why)
{
    std::string bytes;
    const Found found = read_file(dir + "/" + name, &bytes, why);
    if (found != Found::whole) return found;
    return split_trailer(bytes, document, why) ? Found::whole : Found::damaged;
}

bool has_file(const std::string &dir, const std::string &name)
{
    return access((dir + "/" + name).c_str(), F_OK) == 0;
}

void remove_file(const std::string &dir, const std::string &name)
{
    const std::string path = dir + "/" + name;
    if (unlink(path.c_str()) != 0 && errno != ENOENT)
        service::log(LOG_WARNING, "cannot remove %s: %s", path.c_str(), strerror(errno));
}

void keep_aside(const std::string &dir, const std::string &name)
{
    const std::string path = dir + "/" + name;
    const std::string start = path + ".bad-" + std::to_string(std::time(nullptr));
    std::string aside = start;
    for (int n = 1; renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) != 0; n++) {
        if (errno != EEXIST) return;
        aside = start + "." + std::to_string(n);
    }
    service::log(LOG_ERR, "kept it as %s", aside.c_str());
}

std::vector<std::string> list_files(const std::string &dir)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> opened(opendir(dir.c_str()), closedir);
    if (!opened) return names;
    while (const dirent *entry = readdir(opened.get())) // NOLINT(concurrency-mt-unsafe)
        names.emplace_back(entry->d_name);
    return names;
}

} // namespace agent
