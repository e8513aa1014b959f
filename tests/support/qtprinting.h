#ifndef KQSUPPORT_TESTS_QTPRINTING_H
#define KQSUPPORT_TESTS_QTPRINTING_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

/// GoogleTest shows Qt's texts as a reader would write them: "ü", `null`, control bytes as "\r\n\0" or \xNN.
void PrintTo(const QString& text, std::ostream* out);
void PrintTo(const QByteArray& bytes, std::ostream* out);
void PrintTo(const QStringList& texts, std::ostream* out);

#endif
