// The answers of the simulated hardware to the calls that its filter handed over.
#pragma once

// Answers on the filter's descriptor until no process with that filter is left.
void answer_all(int listener);
