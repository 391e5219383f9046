// What a client may say about data: the first byte chooses keypath, words of an edit, completion or a whole document.
// Whatever it is, a refused edit leaves the tree as it was, and what an edit did prints and loads again.
#include "agent/model/complete.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "target.h"
#include "unit/agent/model_fixture.h"

namespace {

void keypath(const std::string &text)
{
    model::Target target;
    model::Target again;
    std::string error;
    if (!model::resolve(models(), text, {}, &target, &error)) return;
    const std::string shown = model::keypath_of(target);
    require(target.steps.empty() || model::resolve(models(), shown, {}, &again, &error));
    model::find_all(nullptr, target);
}

void edits(const std::string &text)
{
    model::Tree tree;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const model::Tree before = model::duplicate(tree.get());
        proto::Error error;
        require(apply(&tree, line, &error) || (model::identical(before.get(), tree.get()) && !error.text.empty()));
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
    ask.words = words(text);
    if (!text.empty()) ask.partial = text.substr(text.size() / 2);
    model::complete(models(), nullptr, ask);
}

} // namespace

void check(std::string_view input)
{
    constexpr void (*targets[])(const std::string &) = {keypath, edits, document, completion};
    const std::uint8_t target = take_byte(&input);
    targets[target % 4](std::string(input));
}
