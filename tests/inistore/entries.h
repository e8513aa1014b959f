#ifndef KQSUPPORT_TESTS_INISTORE_ENTRIES_H
#define KQSUPPORT_TESTS_INISTORE_ENTRIES_H

#include "inistore/inistore.h"

#include "inistore/referencemodel.h"

#include <vector>

/// One thing that a document is made of: a header (its name stands as key) or a line. Null and empty texts differ.
struct Entry
{
    bool header;
    QString key;
    QString value;
    QByteArray raw;
};

bool operator==(const Entry& a, const Entry& b);

std::vector<Entry> entriesOf(const INIStore& store);
std::vector<Entry> entriesOf(const reference::Model& model);

#endif
