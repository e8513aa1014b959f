// A downstream program: one call of each of the four directories.
#include "console/console.h"
#include "inistore/inistore.h"
#include "kqsupport_version.h"
#include "osrelease/osrelease.h"
#include "xml/kqxml.h"

static_assert(KQSUPPORT_VERSION_MAJOR >= 1 && KQSUPPORT_VERSION_MINOR >= 0 && KQSUPPORT_VERSION_PATCH >= 0);

bool g_kq_verbose = false;

int main(int argc, char** argv)
{
    const COSRelease os(argc, argv);

    INIStore store;
    store.AppendKey(QStringLiteral("section"), QStringLiteral("key"), QStringLiteral("value"));
    const QStringList values = store.GetValues(QStringLiteral("section"), QStringLiteral("key"));

    const QByteArray element =
        KQXml::ExtractElement(QByteArrayLiteral("<r><k>content</k></r>"), QStringLiteral("k"), true);

    g_kq_consoleSetupFlag = true;
    KQCONSOLETRACE("kqsupport %s\n", KQSUPPORT_VERSION_STRING);
    KQCONSOLETRACE("%s %d.%d\n", os.m_id.c_str(), os.m_major, os.m_minor);
    KQCONSOLETRACE("%s\n%s\n", qPrintable(values.join(QLatin1Char(','))), element.constData());
    return 0;
}
