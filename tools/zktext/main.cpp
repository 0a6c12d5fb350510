#include "commands.h"
#include "output.h"

#include <cstdio>
#include <exception>
#include <string>

namespace
{

/// A message as one line: an error that quotes input may hold line ends.
std::string oneLine(std::string message)
{
    for (char &c : message) {
        if (c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    return message;
}

int fail(int status, const std::string &message)
{
    std::fprintf(stderr, "zktext: %s\n", oneLine(message).c_str());
    return status;
}

int run(int argc, char **argv)
{
    CLI::App program("Draws and measures text with libzk.", "zktext");
    program.set_version_flag("--version", "zktext " ZK_VERSION);
    program.require_subcommand(0, 1); // none is told below, after unknown words
    zktext::addRender(program);
    zktext::addLayout(program);
    zktext::addGlyph(program);
    zktext::addCoverage(program);
    zktext::addBmp(program);
    zktext::addFaces(program);
    zktext::addCache(program);
    zktext::addPack(program);
    zktext::addAnalyse(program);
    program.footer("Status: 0 done, 1 failed, 2 wrong options.");
    try {
        program.parse(argc, argv);
        if (program.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand (see --help)");
        }
    } catch (const CLI::Success &help) {
        std::ostringstream out;
        program.exit(help, out);
        std::string problem;
        return host::writeOutput("-", out.str(), &problem) ? 0 : fail(1, problem);
    } catch (const CLI::ParseError &error) {
        return fail(2, error.what());
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    host::claimStandardOutput();
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        return fail(1, failure.what());
    }
}
