#ifndef KQSUPPORT_CONSOLE_H
#define KQSUPPORT_CONSOLE_H

#include "kqsupport_export.h"

/// \file
/// A console trace that a client turns on, and three stubs.
///
/// A program that uses the library defines `g_kq_verbose`, or it does not link: see osrelease/osrelease.h.
///
/// Example:
///
///     g_kq_consoleSetupFlag = true;
///     KQCONSOLETRACE("x=%d\n", 5);
///
/// **Warning**: no function checks its pointers. The behaviour is undefined for a null `format` while the flag is true,
/// and for a null `destination` with a positive `capacity`.

/// Turns on `KQCONSOLETRACE`. False when the library is loaded; only clients set it.
///
/// Any non-zero byte counts as true. Every trace reads the flag again.
///
/// Threads: the flag is read without synchronisation. A change by another thread takes effect on some later trace.
extern KQSUPPORT_EXPORT bool g_kq_consoleSetupFlag;

/// Writes `format` with its values to standard output, as std::printf does, and flushes it.
///
/// Nothing is added; end the format with `\n` to get a line. Returns the number of bytes written. Returns 0 at once if
/// the flag is false.
///
/// Errors: returns a negative number if std::vfprintf fails.
///
/// **Warning**: the result of the flush is ignored, so a short text returns its length even if the disk is full. Call
/// std::ferror(stdout) to notice that.
///
/// **Warning**: do not pass text from outside as the format, because each `%` in it starts a conversion. Write
/// `KQCONSOLETRACE("%s", text)`.
///
/// Threads: the text of one trace is never split by another thread's trace.
KQSUPPORT_EXPORT int KQCONSOLETRACE(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Does nothing and returns at once.
///
/// **Warning**: it does not wait for a key. Use std::getchar for that.
KQSUPPORT_EXPORT void KQCONSOLEPAUSE();

/// Stores an empty wide string in `destination`; `capacity` is its size in wide characters. Never reads `source`.
///
/// Returns 1, or 0 without touching `destination` if `capacity` is below 1.
///
/// **Warning**: nothing is converted, although the result is 1. Use QString::fromLocal8Bit.
KQSUPPORT_EXPORT int AnsiToUnicode16(const char* source, wchar_t* destination, int capacity);

/// Stores an empty string in `destination`; `capacity` is its size in bytes. Never reads `source`.
///
/// Always returns 0, even if it stored the string. Does not touch `destination` if `capacity` is below 1.
///
/// **Warning**: nothing is converted. Use QString::fromWCharArray and QString::toLocal8Bit.
KQSUPPORT_EXPORT int Unicode16ToAnsi(wchar_t* source, char* destination, int capacity);

#endif
