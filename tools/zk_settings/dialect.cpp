#include "dialect.h"

#include <QRegularExpression>

#include <algorithm>

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

constexpr unsigned pythonTraits =
    JoinsByIndentation | BareKeys | NeedsHeader | NoRepeats | KeysIgnoreCase | LastBracket | CarriageReturnEndsLine;

// Some programs turn on comments after values, which Python's parser leaves off; so its dialect has several rows. In
// MySQL's files "!include" is no key.
constexpr Dialect dialects[] = {
    // name, files, comments, notes, separators, quotes, quoted, escapes, forbidden, joint, sample, traits, keys,
    // sections
    {"common", "(?!)", "#;", "", "=:", "", "", "", "", "\n", "k = v",
        JoinsByBackslash | JoinsByIndentation | BareKeys | TrimsSectionStart | TrimsSectionEnd | Cautious},
    {"store", "(?!)", ";", ";", "=", "", "", "", "", "", "k = v",
        NotesAnywhere | NotesTakeOneMore | FirstCounts | KeysIgnoreCase | SectionsIgnoreCase},
    {"desktop", desktopFiles, "#", "", "=", "", "", "s n\nt\tr\r;;\\\\", "", "", "k=v",
        KeepsTrailingSpace | NeedsHeader | NoRepeats | LastBracket | NothingAfterHeader, R"([^[\]]+(\[[\w.@-]+\])?)",
        R"([^[\]\x01-\x1f\x7f]*)"},
    {"systemd", systemdFiles, "#;", "", "=", "", "", "", "", " ", "k=v",
        JoinsByBackslash | SkipsComments | NeedsHeader | LastBracket | NothingAfterHeader | CarriageReturnEndsLine,
        R"([^[].*)"},
    {"python", pythonFiles, "#;", "", "=:", "", "", "", "", "", "k = v", pythonTraits},
    {"python", ansibleFiles, "#;", ";", "=:", "", "", "", "", "", "k = v", pythonTraits},
    {"python", supervisorFiles, "#;", "#;", "=:", "", "", "", "", "", "k = v", pythonTraits},
    {"git", gitFiles, "#;", "#;", "=", "\"", "#;", "n\nt\tb\b\"\"\\\\", "", "", "\tk = v",
        NotesAnywhere | QuotesAnywhere | EscapesAnywhere | JoinsByBackslash | BareKeys | NeedsHeader | KeysIgnoreCase |
            SectionsIgnoreCase | Subsections | KeysAfterHeader,
        "[A-Za-z][A-Za-z0-9-]*", R"re([A-Za-z0-9.-]+(\s+"([^"\\]|\\.)*")?)re"},
    {"mysql", mysqlFiles, "#;!", "#", "=", "\"'", "#\"'", "n\nt\tr\rb\bs \"\"''\\\\", "", "", "k = v",
        NotesAnywhere | EscapesAnywhere | BareKeys | NeedsHeader | SectionsIgnoreCase | DashIsUnderscore |
            TrimsSectionEnd},
    {"php", phpFiles, ";", ";", "=", "\"'", "\"';=&|^~!(){}\n", "\"\"\\\\", "${", "", "k = v",
        NotesAnywhere | QuotesAnywhere | JoinsByQuote | LastSectionCounts | KeysAfterHeader | DropsSpaceByQuotes,
        R"((?!(?i:null|yes|no|true|false|on|off|none)$)[^[&|^$~(){}!"\t]+(\[[^["]*\])?)", R"([^"';\\$]*)"},
};

std::string inLowerCase(std::string_view name)
{
    const auto size = static_cast<qsizetype>(name.size());
    const QString text = QString::fromUtf8(name.data(), size);
    if (text.contains(QChar::ReplacementCharacter)) // is not UTF-8
        return QString::fromLatin1(name.data(), size).toLower().toLatin1().toStdString();
    return text.toCaseFolded().toStdString();
}

// The place of the pair with the character on the given side, 0 or 1.
std::size_t pairWith(std::string_view escapes, char character, std::size_t side)
{
    for (std::size_t at = 0; at < escapes.size(); at += 2) {
        if (escapes[at + side] == character)
            return at;
    }
    return none;
}

// Returns the text up to the quote that ends it, without backslashes.
std::string part(std::string_view text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size() && text[at] != '"'; ++at) {
        at += text[at] == '\\' && at + 1 < text.size() ? 1 : 0;
        result += text[at];
    }
    return result;
}

// An expression, such as E_ALL & ~E_NOTICE of PHP, loses its meaning between quotes.
bool isExpression(std::string_view value)
{
    return value.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ &|^~!()") == none &&
           value.find_first_not_of(" &|^~!()") != none;
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
        if (QRegularExpression(QLatin1String(row.files)).match(file).hasMatch())
            return &row;
        first = first == nullptr ? &row : first;
    }
    return first;
}

bool Dialect::accepts(const char* names, const std::string& name)
{
    const QString pattern = QRegularExpression::anchoredPattern(QLatin1String(names));
    return QRegularExpression(pattern).match(QString::fromStdString(name)).hasMatch();
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
    return id + '.' + part(section.substr(quote + 1));
}

std::string Dialect::keyId(std::string_view key) const
{
    std::string id = has(KeysIgnoreCase | Cautious) ? inLowerCase(key) : std::string(key);
    if (has(DashIsUnderscore))
        std::replace(id.begin(), id.end(), '-', '_');
    return id;
}

std::string Dialect::decoded(std::string_view text) const
{
    const bool isQuoted = text.size() > 1 && contains(quotes, text.front()) && text.front() == text.back();
    if (isQuoted && !has(QuotesAnywhere))
        text = text.substr(1, text.size() - 2);
    std::string value;
    std::size_t quotedEnd = 0;
    char quote = '\0';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isEscape = text[at] == '\\' && at + 1 < text.size() && (has(EscapesAnywhere) || quote == '"');
        const std::size_t pair = isEscape ? pairWith(escapes, text[at + 1], 0) : none;
        const bool isQuote = quote != '\0' ? text[at] == quote : contains(quotes, text[at]);
        if (pair != none) {
            value += escapes[pair + 1];
            ++at;
        } else if (has(QuotesAnywhere) && isQuote) {
            quote = quote != '\0' ? '\0' : text[at];
            if (has(DropsSpaceByQuotes) && text[at] == '"' && quote != '\0')
                value.resize(std::max(value.find_last_not_of(blanks) + 1, quotedEnd));
            else if (has(DropsSpaceByQuotes) && text[at] == '"')
                at = std::min(text.find_first_not_of(blanks, at + 1), text.size()) - 1;
            quotedEnd = value.size();
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
        const std::size_t pair = mayEscape ? pairWith(escapes, character, 1) : none;
        if (pair != none)
            text += {'\\', escapes[pair]};
        else
            text += character == '\n' ? lineBreak : std::string(1, character);
    }
    return isQuoted ? '"' + text + '"' : text;
}
