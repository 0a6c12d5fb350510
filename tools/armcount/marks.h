#ifndef ZK_ARMCOUNT_MARKS_H
#define ZK_ARMCOUNT_MARKS_H

/// How a counted program tells the counter where a stretch begins and ends: a system
/// call that no kernel knows, with one of the marks as its argument.
enum { kMarkCall = 1000 };
enum { kMarkStart = 1, kMarkPause, kMarkResume, kMarkStop };

#endif
