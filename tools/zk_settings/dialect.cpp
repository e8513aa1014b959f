#include "dialect.h"

namespace {

constexpr char desktopFiles[] =
    R"(\.(desktop|directory|theme|nmconnection|flatpakref|flatpakrepo|keyfile)$|(^|/)(mimeapps|defaults)\.list$)"
    R"(|/dbus-1/.*\.service$|/(NetworkManager|lightdm|gdm3?)/.*\.conf$)";
constexpr char systemdFiles[] =
    R"(\.(service|socket|device|mount|automount|swap|target|path|timer|slice|scope|network|netdev|link|nspawn|dnssd))"
    R"((\.d/[^/]*\.conf)?$|/systemd/.*\.conf$)"
    R"(|(^|/)(coredump|homed|iocost|journal-remote|journal-upload|journald|logind|networkd|oomd|pstore|resolved|sleep)"
    R"(|timesyncd)\.conf(\.d/[^/]*\.conf)?$)";
constexpr char pythonFiles[] =
    R"((^|/)(setup\.cfg|tox\.ini|pytest\.ini|mypy\.ini|alembic\.ini|pip\.conf|\.?pylintrc|\.flake8|\.coveragerc)"
    R"(|\.pypirc|\.(bumpversion|isort|pydistutils)\.cfg)$)";
constexpr char ansibleFiles[] = R"((^|/)ansible\.cfg$|/fail2ban/.*\.(conf|local)$)";
constexpr char supervisorFiles[] = R"((^|/)supervisord\.conf$|/supervisor/.*\.conf$)";
constexpr char gitFiles[] =
    R"((^|/)(\.?gitconfig|\.gitmodules|\.lfsconfig)$|/git/config$|\.git/(.*/)?config(\.worktree)?$)";
constexpr char mysqlFiles[] = R"((^|/)((?!openssl|texmf)[^/]*\.cnf|my\.ini)$)";
constexpr char phpFiles[] = R"((^|/)(php[^/]*\.ini(-\w+)?|\.user\.ini|php-fpm\.conf)$|/php[^/]*/.*\.(ini|conf)$)";

// A header ends with the first ']' or the last one; in some files nothing may follow, or part of the name is quoted.
constexpr char toFirstBracket[] = R"(^\[([^\]]++)\])";
constexpr char toLastBracket[] = R"(^\[(.+)\])";
constexpr char wholeLine[] = R"(^\[(.+)\]\s*\z)";
constexpr char subsection[] = R"re(^\[((?:[^\]"]|"(?:[^"\\]|\\.)*+")++)\])re";

constexpr char pythonKeys[] = R"((*UCP)^\S(.*\S)?\z)";
constexpr unsigned pythonTraits =
    JoinsByIndentation | SkipsComments | BareKeys | NeedsHeader | NoRepeats | KeysIgnoreCase | CarriageReturnEndsLine;

// Some programs turn on comments after values, which Python's parser leaves off; so its dialect has several rows. In
// MySQL's files "!include" is no key.
const Dialect dialects[] = {
    // name, files, header, comments, notes, separators, quotes, quoted, escapes, meanings, joint, sample, traits, keys,
    // sections
    {"common", "(?!)", toFirstBracket, "#;", "", "=:", "", "", "", "", "\n", "k = v",
        JoinsByBackslash | JoinsByIndentation | SkipsComments | BareKeys | TrimsSectionStart | TrimsSectionEnd |
            Cautious},
    {"store", "(?!)", toFirstBracket, ";", ";", "=", "", "", "", "", "", "k = v",
        NotesAnywhere | NotesTakeOneMore | FirstCounts | KeysIgnoreCase | SectionsIgnoreCase},
    {"desktop", desktopFiles, wholeLine, "#", "", "=", "", "", "", "", "", "k=v",
        KeepsTrailingSpace | NeedsHeader | NoRepeats, R"(^[^[\]]*[^[\] ](\[[\w.@-]+\])?\z)",
        R"(^[^[\]\x01-\x1f\x7f]*\z)"},
    {"systemd", systemdFiles, wholeLine, "#;", "", "=", "", "", "", "", " ", "k=v",
        JoinsByBackslash | SkipsComments | NeedsHeader | CarriageReturnEndsLine, R"(^[^[\x{fffd}][^\x{fffd}]*\z)",
        R"(^[^\x{fffd}]*\z)"},
    {"python", pythonFiles, toLastBracket, "#;", "", "=:", "", "", "", "", "\n", "k = v", pythonTraits, pythonKeys},
    {"python", ansibleFiles, toLastBracket, "#;", ";", "=:", "", "", "", "", "\n", "k = v", pythonTraits, pythonKeys},
    {"python", supervisorFiles, toLastBracket, "#;", "#;", "=:", "", "", "", "", "\n", "k = v", pythonTraits,
        pythonKeys},
    {"git", gitFiles, subsection, "#;", "#;", "=", "\"", "#;", "ntb\"\\", "\n\t\b\"\\", "", "\tk = v",
        NotesAnywhere | QuotesAnywhere | EscapesAnywhere | JoinsByBackslash | BareKeys | NeedsHeader | KeysIgnoreCase |
            SectionsIgnoreCase | Subsections | KeysAfterHeader,
        R"(^[A-Za-z][A-Za-z0-9-]*\z)", R"re(^[A-Za-z0-9.-]+(\s+"([^"\\]|\\.)*")?\z)re"},
    {"mysql", mysqlFiles, toFirstBracket, "#;!", "#", "=", "\"'", "#\"'\xa0", "ntrbs\"'\\", "\n\t\r\b \"'\\", "",
        "k = v",
        NotesAnywhere | EscapesAnywhere | BareKeys | NeedsHeader | SectionsIgnoreCase | DashIsUnderscore |
            TrimsSectionEnd,
        R"(^[^[].*\z)"},
    {"php", phpFiles, toFirstBracket, ";", ";", "=", "\"'", "\"';=&|^~!(){}$ \t\n", "\"\\", "\"\\", "\n", "k = v",
        NotesAnywhere | QuotesAnywhere | JoinsByQuote | LastSectionCounts | KeysAfterHeader | DropsSpaceByQuotes,
        R"(^(?!(?i:null|yes|no|true|false|on|off|none)\z)[^[&|^$~(){}!"\t]+(\[[^[\]"]*\])?\z)", R"(^[^"';\\$\r]*\z)"},
};

std::string inLowerCase(std::string_view name)
{
    const auto size = static_cast<qsizetype>(name.size());
    const QString text = QString::fromUtf8(name.data(), size);
    if (text.contains(QChar::ReplacementCharacter)) // is not UTF-8
        return QString::fromLatin1(name.data(), size).toLower().toLatin1().toStdString();
    return text.toCaseFolded().toStdString();
}

// An expression, such as E_ALL & ~E_NOTICE of PHP, loses its meaning between quotes.
bool isExpression(std::string_view value)
{
    static const Pattern pattern(R"(^(?=.*(E_|[&|^]))(?<e>[~!]*(E_[A-Z_]+|\d+|\((?&e)\))( ?[&|^] ?(?&e))?)\z)");
    return pattern.match(QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()))).hasMatch();
}

bool needsQuotes(std::string_view value, const Dialect& dialect)
{
    constexpr std::string_view lost = " \t\n";
    if (value.empty() || dialect.quotes.empty())
        return false;
    return contains(lost, value.front()) || contains(lost, value.back()) ||
           (value.find_first_of(dialect.quoted) != none && !isExpression(value));
}

} // namespace

const Dialect* Dialect::find(std::string_view name, const std::string& path)
{
    const QString file = QString::fromStdString(path);
    const Dialect* first = name.empty() ? &dialects[0] : nullptr;
    for (const Dialect& row : dialects) {
        if (!name.empty() && row.name != name)
            continue;
        if (row.files.match(file).hasMatch())
            return &row;
        first = first == nullptr ? &row : first;
    }
    return first;
}

std::string dialectNames()
{
    std::string names;
    for (const Dialect& row : dialects) {
        if (Dialect::find(row.name, {}) == &row) // some have several rows
            names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    return names;
}

// [name.part] is an old form of [name "part"].
std::string Dialect::sectionId(std::string_view section) const
{
    if (has(TrimsSectionStart))
        section.remove_prefix(std::min(section.find_first_not_of(blanks), section.size()));
    if (has(TrimsSectionEnd))
        section = section.substr(0, section.find_last_not_of(blanks) + 1);
    const std::size_t quote = has(Subsections) ? section.find('"') : none;
    std::string id(section.substr(0, quote));
    if (has(SectionsIgnoreCase | Cautious))
        id = inLowerCase(id);
    if (quote == none)
        return id;
    id.resize(id.find_last_not_of(blanks) + 1);
    id += '.';
    for (std::size_t at = quote + 1; at < section.size() && section[at] != '"'; ++at) {
        at += section[at] == '\\' && at + 1 < section.size() ? 1 : 0;
        id += section[at];
    }
    return id;
}

std::string Dialect::keyId(std::string_view key) const
{
    std::string id = has(KeysIgnoreCase | Cautious) ? inLowerCase(key) : std::string(key);
    if (has(DashIsUnderscore))
        std::replace(id.begin(), id.end(), '-', '_');
    return id;
}

bool Dialect::endsQuote(std::string_view text, std::size_t backslash) const
{
    const std::string_view next = text.substr(backslash + 1, 2);
    return has(JoinsByQuote) && (next == "\"" || next == "\"\n");
}

std::string Dialect::decoded(std::string_view text) const
{
    const bool isQuoted = text.size() > 1 && contains(quotes, text.front()) && text.front() == text.back();
    if (isQuoted && !has(QuotesAnywhere))
        text = text.substr(1, text.size() - 2);
    std::string value;
    char quote = '\0';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isEscape = text[at] == '\\' && at + 1 < text.size() &&
                              (has(EscapesAnywhere) || (quote == '"' && !endsQuote(text, at)));
        const std::size_t letter = isEscape ? escapes.find(text[at + 1]) : none;
        if (letter != none) {
            value += meanings[letter];
            ++at;
        } else if (has(QuotesAnywhere) && (quote != '\0' ? text[at] == quote : contains(quotes, text[at]))) {
            quote = quote != '\0' ? '\0' : text[at];
        } else if (has(DropsSpaceByQuotes) && quote == '\0' && contains(blanks, text[at])) {
            const std::size_t next = std::min(text.find_first_not_of(blanks, at), text.size());
            if (at == 0 || (text[at - 1] != '"' && text.substr(next, 1) != "\""))
                value += text.substr(at, next - at);
            at = next - 1;
        } else {
            value += text[at];
        }
    }
    return value;
}

// A single quote and a space need no backslash between double quotes.
std::string Dialect::encoded(std::string_view value, const std::string& lineBreak) const
{
    const bool isQuoted = needsQuotes(value, *this);
    std::string text;
    for (const char character : value) {
        const bool mayEscape = (isQuoted || has(EscapesAnywhere)) && !contains("' ", character);
        const std::size_t letter = mayEscape ? meanings.find(character) : none;
        if (letter != none)
            text += {'\\', escapes[letter]};
        else
            text += character == '\n' ? lineBreak : std::string(1, character);
    }
    return isQuoted ? '"' + text + '"' : text;
}
