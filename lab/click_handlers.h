// What happens in the data plane when a control file has been written.
#pragma once

#include "lab/click_tree.h"

// Runs the write handler of the existing node `path` with the whole text of one open-write-close. 0, or the negative
// errno that close() then answers to the writer; a refused text changes nothing.
int click_write(ClickTree &tree, const std::string &path, const std::string &text);
