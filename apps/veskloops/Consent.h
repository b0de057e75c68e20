// Asking before something is taken out of the database.
#pragma once

#include <string>

class Output;

// Asks on a terminal; throws a Failure when the answer is no, or when nobody can be asked. `what` is "2 loops"; `rest`
// is a sentence about what is left alone.
void requireConsent(Output& output, const std::string& what, const std::string& rest);
