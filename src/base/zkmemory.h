#ifndef ZKMEMORY_H
#define ZKMEMORY_H

#include "zkglobal.h"

/// Flushes standard output and says on standard error that there is no memory for
/// `bytes`: the one line in which every allocation of the library fails.
ZK_HIDDEN void zkReportNoMemory(std::int64_t bytes) __attribute__((cold, noinline));

#endif
