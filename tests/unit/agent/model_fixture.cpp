#include "model_fixture.h"

#include <cstdio>
#include <sstream>

#include "agent/model/edit.h"

const model::Models &models()
{
    static const model::ModelsHandle loaded = [] {
        std::string error;
        model::ModelsHandle handle = model::load(GW_YANG_SOURCES, &error);
        if (!handle) std::fprintf(stderr, "%s\n", error.c_str());
        return handle;
    }();
    return *loaded;
}

proto::Words words(const std::string &line)
{
    std::istringstream in(line);
    proto::Words list;
    for (std::string word; in >> word;)
        list.push_back(word);
    return list;
}

model::Tree changed(const model::Tree &tree, const std::vector<std::string> &lines)
{
    model::Tree copy = model::duplicate(tree.get());
    proto::Error error;
    bool ok = true;
    for (const std::string &line : lines) {
        const bool removes = line.starts_with('-');
        ok = ok && (removes ? model::remove(models(), &copy, words(line.substr(1)), &error)
                            : model::set(models(), &copy, words(line), &error));
    }
    if (ok && model::validate(models(), &copy, &error)) return copy;
    std::fprintf(stderr, "%s: %s\n", error.path.c_str(), error.text.c_str());
    return {};
}

model::Tree config(const std::vector<std::string> &lines)
{
    std::vector<std::string> all{"ip dhcp pool network dhcp-subnet-prefix 10.0.23.0/24"};
    all.insert(all.end(), lines.begin(), lines.end());
    return changed({}, all);
}
