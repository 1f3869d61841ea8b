#include "platform/CommandLine.h"

namespace station {

namespace {
bool isBlank(char c) {
    return c == ' ' || c == '\t';
}
} // namespace

std::vector<std::string> splitCommandLine(std::string_view line) {
    std::vector<std::string> argv;
    std::size_t i = 0;
    const auto size = line.size();

    // The program name: quotes group, nothing is escaped.
    while (i < size && isBlank(line[i]))
        ++i;
    if (i == size)
        return argv;
    std::string program;
    bool quoted = false;
    for (; i < size; ++i) {
        const char c = line[i];
        if (c == '"')
            quoted = !quoted;
        else if (isBlank(c) && !quoted)
            break;
        else
            program += c;
    }
    argv.push_back(std::move(program));

    for (;;) {
        while (i < size && isBlank(line[i]))
            ++i;
        if (i == size)
            return argv;
        std::string arg;
        quoted = false;
        while (i < size && (quoted || !isBlank(line[i]))) {
            if (line[i] == '\\') {
                std::size_t slashes = 0;
                while (i < size && line[i] == '\\') {
                    ++slashes;
                    ++i;
                }
                if (i < size && line[i] == '"') {
                    arg.append(slashes / 2, '\\');
                    if (slashes % 2 == 1) {
                        arg += '"';
                        ++i;
                    }
                    // An even count leaves the quote to the branch below.
                } else {
                    arg.append(slashes, '\\');
                }
            } else if (line[i] == '"') {
                if (quoted && i + 1 < size && line[i + 1] == '"') {
                    arg += '"';
                    i += 2;
                } else {
                    quoted = !quoted;
                    ++i;
                }
            } else {
                arg += line[i++];
            }
        }
        argv.push_back(std::move(arg));
    }
}

} // namespace station
