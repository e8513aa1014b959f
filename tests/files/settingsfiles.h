#ifndef KQSUPPORT_TESTS_FILES_SETTINGSFILES_H
#define KQSUPPORT_TESTS_FILES_SETTINGSFILES_H

#include "support/rows.h"

#include <vector>

/// A file in tests/files/settings in the form of one kind of program. It is named after what it adds to the others.
struct SettingsFile
{
    const char* name;
    const char* file;
    const char* section; ///< the section and key of a line whose value has the same meaning in every dialect
    const char* key;
    const char* value;
};

inline const std::vector<SettingsFile> settingsFiles = {
    {"keys_without_a_section_and_lines_with_a_colon", "archive.pc", "", "prefix", "/usr"},
    {"continued_lines_and_keys_that_end_with_a_plus", "qmake.conf", "", "MAKEFILE_GENERATOR", "UNIX"},
    {"semicolons_in_quotes_and_repeated_keys", "backup.service", "Unit", "Description",
        "Copies the drawings of the day"},
    {"repeated_sections", "wired.network", "Network", "DHCP", "no"},
    {"keys_with_a_language_and_lists_that_end_with_a_semicolon", "viewer.desktop", "Desktop Entry", "Name",
        "Drawing Viewer"},
    {"slashes_in_section_names", "index.theme", "32x32/actions", "Size", "32"},
    {"one_section", "gtk-settings.ini", "Settings", "gtk-font-name", "Sans 11"},
    {"keys_without_an_equals_sign_and_includes", "server.cnf", "mysqld", "port", "3306"},
    {"indented_keys_and_quoted_section_names", "git-config", "remote \"origin\"", "url",
        "https://git.example.org/drawings.git"},
    {"spaces_in_keys_and_sections_that_are_commented_out", "smb.conf", "print$", "guest ok", "no"},
    {"braces_around_more_keys", "krb5.conf", "libdefaults", "default_realm", "EXAMPLE.ORG"},
    {"comments_after_values_and_rows_of_semicolons", "php.ini", "PHP", "max_execution_time", "30"},
    {"byte_order_mark_and_cr_lf", "desktop.ini", ".ShellClassInfo", "IconFile", "%SystemRoot%\\system32\\shell32.dll"},
    {"empty_value_before_cr_lf", "desktop.ini", "ViewState", "Vid", ""},
    {"bytes_that_are_not_utf8", "latin1.ini", "Papier", "Format", "A4"},
    {"patterns_as_section_names", "editorconfig", "*.{c,h,cpp}", "indent_size", "4"},
    {"values_of_several_indented_lines", "setup.cfg", "metadata", "description", "Reads drawings"},
    {"groups_in_groups_and_marks_on_keys", "kdeglobals", "KDE", "widgetStyle", "Fusion"},
    {"escapes_and_binary_values", "viewer.conf", "General", "language", "en"},
    {"no_line_end_at_the_end", "locale.conf", "", "LC_MESSAGES", "en_GB.UTF-8"},
    {"two_kinds_of_line_ends", "launcher.ini", "Launcher", "Volume", "0.8"},
    {"number_signs_before_headers", "pacman.conf", "core", "Include", "/etc/pacman.d/mirrorlist"},
    {"comment_after_a_value_and_disabled_key", "ansible.cfg", "defaults", "remote_user", "deploy"},
    {"signs_before_keys", "DefaultEngine.ini", "/Script/Engine.GameSession", "MaxPlayers", "16"},
};

#endif
