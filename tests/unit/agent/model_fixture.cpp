#include "model_fixture.h"

#include <gtest/gtest.h>

#include "agent/model/edit.h"

const model::Models &models()
{
    static std::string error;
    static const model::ModelsHandle loaded = model::load(GW_YANG_SOURCES, &error);
    if (!loaded) ADD_FAILURE() << error;
    return *loaded;
}

bool apply(model::Tree *tree, const std::string &line, proto::Error *error)
{
    return line.starts_with('-') ? model::remove(models(), tree, words(line.substr(1)), error)
                                 : model::set(models(), tree, words(line), error);
}

model::Tree changed(const model::Tree &tree, const std::string &edits)
{
    model::Tree copy = model::duplicate(tree.get());
    proto::Error error;
    bool ok = true;
    for (const std::string &line : words(edits, ';'))
        ok = ok && apply(&copy, line, &error);
    if (ok && model::validate(models(), &copy, &error)) return copy;
    ADD_FAILURE() << error.path << ": " << error.text;
    return {};
}

model::Tree config(const std::string &edits)
{
    return changed({}, "ip dhcp pool network dhcp-subnet-prefix 10.0.23.0/24; " + edits);
}
