#ifndef ZKTEXT_COMMANDS_H
#define ZKTEXT_COMMANDS_H

#include <CLI/CLI.hpp>

#include <stdexcept>

namespace zktext
{

/// What a subcommand throws when it cannot do its work: `main` prints the message
/// as one line on standard error and returns 1.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Each adds one subcommand to the program; its file holds everything about it.
void addRender(CLI::App &program);
void addLayout(CLI::App &program);
void addGlyph(CLI::App &program);
void addCoverage(CLI::App &program);
void addBmp(CLI::App &program);
void addFaces(CLI::App &program);
void addCache(CLI::App &program);
void addPack(CLI::App &program);
void addAnalyse(CLI::App &program);

} // namespace zktext

#endif
