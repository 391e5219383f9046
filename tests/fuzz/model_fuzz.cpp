// What a client may say about data: the first byte chooses keypath, words of an edit, completion or a whole document.
// Whatever it is, a refused edit leaves the tree as it was, and what an edit did prints and loads again.
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "agent/model/complete.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"

namespace {

const model::Models &models()
{
    static const model::ModelsHandle loaded = [] {
        std::string error;
        model::ModelsHandle handle = model::load(GW_SOURCE_DIR "/yang", &error);
        if (!handle) abort();
        return handle;
    }();
    return *loaded;
}

proto::Words words_of(const std::string &text)
{
    std::istringstream in(text);
    proto::Words words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

void keypath(const std::string &text)
{
    model::Target target;
    model::Target again;
    std::string error;
    if (!model::resolve(models(), text, {}, &target, &error)) return;
    const std::string shown = model::keypath_of(target);
    if (!target.steps.empty() && !model::resolve(models(), shown, {}, &again, &error)) abort();
    model::find_all(nullptr, target);
}

void edits(const std::string &text)
{
    model::Tree tree;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const model::Tree before = model::duplicate(tree.get());
        proto::Error error;
        const bool remove = line.starts_with('-');
        const proto::Words words = words_of(remove ? line.substr(1) : line);
        const bool done =
            remove ? model::remove(models(), &tree, words, &error) : model::set(models(), &tree, words, &error);
        if (!done && !model::identical(before.get(), tree.get())) abort();
        if (!done && error.text.empty()) abort();
    }
    model::to_tree(tree.get(), true);
}

void document(const std::string &text)
{
    model::Tree tree;
    proto::Error error;
    if (model::load_json(models(), &tree, text, true, &error)) model::validate(models(), &tree, &error);
}

void completion(const std::string &text)
{
    proto::Complete ask;
    ask.words = words_of(text);
    if (!text.empty()) ask.partial = text.substr(text.size() / 2);
    model::complete(models(), nullptr, ask);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    constexpr void (*targets[])(const std::string &) = {keypath, edits, document, completion};
    targets[data[0] % 4](text);
    return 0;
}
