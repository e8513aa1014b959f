// The work whose instructions scripts/counts counts, done by the library and by the reference implementation:
//
//     benchmark_counted SIZE TIMES
#include "benchmarks/benchmarks.h"
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"
#include "reference/extraction.h"
#include "reference/inistore.h"
#include "xml/kqxml.h"

#include <QTemporaryDir>

#include <cstdlib>

bool g_kq_verbose = false;

template <typename Store>
bool work(const documents::SettingsFile& d, const documents::DualString& value)
{
    Store store;
    const bool isLoaded = store.Open(d.path.qt) && !store.GetValues(d.section.qt, d.key.qt).isEmpty();
    store.UpdateKey(d.section.qt, d.key.qt, value.qt);
    return isLoaded && store.Write(d.hashPath.qt);
}

int main(int, char** argv)
{
    const auto size = std::size_t(std::atoi(argv[1]));
    const QTemporaryDir folder;
    const documents::SettingsFile settings(folder.path().toStdString(), size);
    const QByteArray xml = documents::xml(size);
    const QString tag = QStringLiteral("last");
    bool isDone = true;
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        isDone &= work<INIStore>(settings, settings.values[i % 2]);
        isDone &= work<reference::INIStore>(settings, settings.values[i % 2]);
        isDone &= KQXml::ExtractElement(xml, tag, false) == reference::extractElement(xml, tag, false);
        isDone &= documents::bareReader(xml, tag);
    }
    return isDone ? 0 : 1;
}
