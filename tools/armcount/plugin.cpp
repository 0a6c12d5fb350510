// A plugin of qemu-user that counts the instructions a program executes between the
// marks it sets (marks.h) and prints a line `count N` when a stretch ends. A block of
// translated code adds its length to the counter when it is entered, so the number is
// exact and the same on every machine.
//
// Debian packages no header for plugins: what is used of version 1 of the interface is
// declared here.

#include "marks.h"

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" {
typedef std::uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_info_t;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

typedef void (*BlockTranslated)(qemu_plugin_id_t, qemu_plugin_tb *);
typedef void (*SystemCall)(qemu_plugin_id_t, unsigned cpu, std::int64_t number, std::uint64_t first,
                           std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t,
                           std::uint64_t, std::uint64_t, std::uint64_t);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t, BlockTranslated);
void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t, SystemCall);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *);
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb *, qemu_plugin_op, void *counter,
                                              std::uint64_t add);
void qemu_plugin_outs(const char *);

// NOLINTNEXTLINE(readability-identifier-naming): qemu's name
__attribute__((visibility("default"))) extern const int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int
qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t *info, int argc, char **argv);
}

namespace
{

std::uint64_t executed = 0; // since the program started
std::uint64_t resumed = 0;  // `executed` at the last mark that opened a stretch
std::uint64_t counted = 0;  // in the stretches before that

void countBlock(qemu_plugin_id_t, qemu_plugin_tb *block)
{
    qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

void report()
{
    char line[64];
    std::snprintf(line, sizeof line, "count %" PRIu64 "\n", counted);
    qemu_plugin_outs(line);
}

void mark(qemu_plugin_id_t, unsigned, std::int64_t number, std::uint64_t first, std::uint64_t,
          std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t, std::uint64_t)
{
    if (number != kMarkCall) {
        return;
    }
    switch (first) {
    case kMarkStart:
        counted = 0;
        resumed = executed;
        break;
    case kMarkPause: counted += executed - resumed; break;
    case kMarkResume: resumed = executed; break;
    case kMarkStop:
        counted += executed - resumed;
        report();
        break;
    default: break;
    }
}

} // namespace

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t *, int, char **)
{
    qemu_plugin_register_vcpu_tb_trans_cb(id, countBlock);
    qemu_plugin_register_vcpu_syscall_cb(id, mark);
    return 0;
}
