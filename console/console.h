#ifndef KQSUPPORT_CONSOLE_H
#define KQSUPPORT_CONSOLE_H

#include "kqsupport_export.h"

/// \file
/// Console diagnostics that a client switches on, and two text conversions kept as entry points only.
///
///     g_kq_consoleSetupFlag = true;
///     KQCONSOLETRACE("x=%d\n", 5);
///
/// None of the functions checks its pointers, keeps state or takes a lock of its own.

/// Switches `KQCONSOLETRACE` on. Off when the library is loaded; only clients set it, at any time, and any non-zero
/// byte counts as on. It is read afresh by every trace, without synchronisation.
extern KQSUPPORT_EXPORT bool g_kq_consoleSetupFlag;

/// Writes `format` with its values, as printf does, to standard output and flushes it. Nothing is added: a caller that
/// wants a line ends its format with a newline.
///
/// Returns what vfprintf does: the number of bytes, or a negative number after an output error (nothing is printed
/// about it). The result of the flush is ignored, so a short text to a full disk still returns its length. When the
/// flag is off it returns 0 at once: nothing is written and the values are not read. The text of one trace is never
/// split by that of another thread. `format` must not be null while the flag is on.
KQSUPPORT_EXPORT int KQCONSOLETRACE(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Returns at once. It neither reads nor writes; callers of the entry point need no console.
KQSUPPORT_EXPORT void KQCONSOLEPAUSE();

/// Converts nothing: leaves an empty wide string in `destination`, whose `capacity` counts wide characters, and never
/// reads `source`. Returns 1, or 0 with `destination` untouched when `capacity` is below 1.
KQSUPPORT_EXPORT int AnsiToUnicode16(const char* source, wchar_t* destination, int capacity);

/// Converts nothing: leaves an empty string in `destination`, whose `capacity` counts bytes, and never reads `source`.
/// Returns 0 always, unlike its counterpart. `destination` is untouched when `capacity` is below 1.
KQSUPPORT_EXPORT int Unicode16ToAnsi(wchar_t* source, char* destination, int capacity);

#endif
