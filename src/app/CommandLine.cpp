#include "CommandLine.h"

#include "ExternalLinks.h"

#include <cstdio>
#include <cstring>

namespace CommandLine {

std::optional<int> answerOnTerminal(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("Brevlin %s\n", qPrintable(ExternalLinks::version()));
            return 0;
        }
        if (std::strcmp(argv[i], "--help") == 0) {
            std::printf("Usage: brevlin [--help | --version]\n"
                        "\n"
                        "A countdown timer for presenters: a small panel that floats above every window,\n"
                        "full-screen slide shows included. Type a time such as 0:20:0 into it and press\n"
                        "Return; the keyboard goes back to the slide show. Right-click the panel for the\n"
                        "preferences, the user guide and Quit.\n"
                        "\n"
                        "  --help     show this text and exit\n"
                        "  --version  show the version and exit\n");
            return 0;
        }
    }
    return std::nullopt;
}

} // namespace CommandLine
