#ifndef ZKTEXTPROGRAM_H
#define ZKTEXTPROGRAM_H

/// Runs the command-line host and catches what it writes.

#include "hostprogram.h"

namespace zktextprogram
{

using namespace hostprogram;

/// The program with its arguments as one shell command.
inline std::string zktext(const Words &arguments)
{
    return commandLine(ZK_ZKTEXT, arguments);
}

inline Result run(const Words &arguments, const std::string &input = std::string())
{
    return shell(zktext(arguments), input);
}

} // namespace zktextprogram

#endif
