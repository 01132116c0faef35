#include "app/Refusal.h"

#include <algorithm>
#include <cstdio>

namespace Morvalin::App {

void printError(const std::string& line) {
    std::string text = "morvalin-host: " + line;
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace Morvalin::App
