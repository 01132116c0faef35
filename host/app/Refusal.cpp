#include "app/Refusal.h"

#include <algorithm>
#include <cstdio>

namespace Morvalin::App {

void printError(const std::string& line) {
    std::string text = "morvalin-host: " + line;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace Morvalin::App
