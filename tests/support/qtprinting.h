#ifndef KQSUPPORT_TESTS_QTPRINTING_H
#define KQSUPPORT_TESTS_QTPRINTING_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

/// Makes GoogleTest print Qt's texts readably: "ü", null QString, control bytes as \r, \n or \xNN.
void PrintTo(const QString& text, std::ostream* out);
void PrintTo(const QByteArray& bytes, std::ostream* out);
void PrintTo(const QStringList& texts, std::ostream* out);

#endif
