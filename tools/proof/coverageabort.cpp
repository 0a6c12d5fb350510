// Part of each test program in a coverage build: a process that a broken contract ends
// writes down what it has run, as one that returns from main does.

#include <csignal>
#include <unistd.h>

extern "C" void __gcov_dump();

namespace
{

void dumpAndDie(int signal)
{
    __gcov_dump();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[maybe_unused]] const auto previous = std::signal(SIGABRT, dumpAndDie);

} // namespace
