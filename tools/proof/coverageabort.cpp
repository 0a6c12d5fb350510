// Part of each test program in a coverage build: a process that a broken contract ends,
// or that leaves without returning from main, writes down what it has run, too.

#include <csignal>
#include <cstdlib>
#include <sys/syscall.h>
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

[[noreturn]] void dumpAndLeave(int status)
{
    __gcov_dump();
    for (;;) {
        syscall(SYS_exit_group, status);
    }
}

[[maybe_unused]] const auto kAborts = std::signal(SIGABRT, dumpAndDie);
[[maybe_unused]] const auto kCrashes = std::signal(SIGSEGV, dumpAndDie);

} // namespace

// In place of the C library's.
extern "C" void _exit(int status)
{
    dumpAndLeave(status);
}
extern "C" void _Exit(int status) noexcept
{
    dumpAndLeave(status);
}
