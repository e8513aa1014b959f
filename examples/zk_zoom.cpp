// Prints the zoom in a settings file, or changes it and saves the file: zk_zoom FILE [PERCENT]
#include "inistore/inistore.h"
#include "osrelease/osrelease.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

bool g_kq_verbose = false; // every program that links the library defines it

namespace {

const QString section = QStringLiteral("view");
const QString key = QStringLiteral("zoom");
const QString defaultZoom = QStringLiteral("100");

// The line that is added ends like the other lines of the file. If the line before it has no line end, it gets one.
void prepareToAddALine(INIStore& store)
{
    const auto hasCrLf = [](const INISection& s) {
        return s.m_raw.endsWith("\r\n") || (!s.m_lines.isEmpty() && s.m_lines.first().m_raw.endsWith("\r\n"));
    };
    if (std::any_of(store.m_sections.cbegin(), store.m_sections.cend(), hasCrLf))
        INIStore::s_newline = QStringLiteral("\r\n");

    const int index = store.GetSection(section);
    INISection& before = index < 0 ? store.m_sections.last() : store.m_sections[index];
    QByteArray& line = before.m_lines.isEmpty() ? before.m_raw : before.m_lines.last().m_raw;
    if (!line.isEmpty() && !line.endsWith('\n'))
        line += INIStore::s_newline.toUtf8();
}

// Writes a new file in the same directory and gives it the name of the old one at the end, so that the old file
// survives a full disk or a crash. Its permissions are kept, its owner is not. Returns the reason of a failure.
QString save(INIStore& store, const QString& path)
{
    const QFileInfo old(path);
    const QString target = old.exists() ? old.canonicalFilePath() : path; // a symbolic link stays
    QTemporaryFile file(target + QStringLiteral(".XXXXXX"));              // removes itself, unless it is renamed
    if (!file.open() || (old.exists() && !file.setPermissions(old.permissions())))
        return file.errorString();
    if (!store.WriteSections(file, file.fileName()))
        return store.GetLastError();
    if (!file.flush()) // the end of the document may still be in the file's buffer
        return file.errorString();
    const QByteArray from = QFile::encodeName(file.fileName());
    const QByteArray to = QFile::encodeName(target);
    if (fsync(file.handle()) != 0 || std::rename(from.constData(), to.constData()) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    file.setAutoRemove(false);
    return {};
}

int fail(const char* file, const QString& reason)
{
    std::fprintf(stderr, "zk_zoom: %s: %s\n", file, qUtf8Printable(reason));
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    bool isNumber = true;
    const int percent = argc == 3 ? QByteArray(argv[2]).toInt(&isNumber) : 0;
    if (argc < 2 || argc > 3 || !isNumber) {
        std::fputs("usage: zk_zoom FILE [PERCENT]\n", stderr);
        return 2;
    }

    INIStore store;
    const QString path = QFile::decodeName(argv[1]);
    if (!store.Open(path) && !store.GetLastError().isEmpty()) // without a message, the file does not exist yet
        return fail(argv[1], store.GetLastError());

    const QStringList values = store.GetValues(section, key);
    const int zoom = values.value(0, defaultZoom).toInt(&isNumber);
    if (!isNumber)
        return fail(argv[1], QStringLiteral("the zoom is not a number"));
    if (argc == 2) {
        std::printf("%d\n", zoom);
        return 0;
    }

    if (values.isEmpty()) // UpdateKey then adds the key
        prepareToAddALine(store);
    // UpdateKey replaces the first occurrence of the old value in the line. A number does not occur in the key.
    store.UpdateKey(section, key, QString::number(percent));
    const QString reason = save(store, path);
    return reason.isEmpty() ? 0 : fail(argv[1], QStringLiteral("not saved: ") + reason);
}
