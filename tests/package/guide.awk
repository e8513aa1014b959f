# Splits docs/guide.md into files below `out`:
#   CMakeLists.txt, main.cpp, app.ini, app.xml  the first block of each kind
#   tasks.cpp                                   a program that runs the task with the number in its last argument
#   tasks/N                                     what task N prints, and the changes of its files
# A block that defines functions or includes headers belongs to all tasks. Every other block of C++ is a task.
function finish() {
    if (kind == "cmake" || kind == "ini" || kind == "xml")
        printf "%s", block >(out "/" (kind == "cmake" ? "CMakeLists.txt" : "app." kind))
    else if (kind == "cpp" && block ~ /int main\(/)
        printf "%s", block >(out "/main.cpp")
    else if (kind == "cpp" && block ~ /(^|\n)(#include|{\n)/)
        shared = shared block
    else if (kind == "cpp") {
        tasks = tasks "    case " ++count ": {\n" block "        break;\n    }\n"
        while (match(block, /\/\/ prints [^\n]*/)) {
            printed = printed substr(block, RSTART + 10, RLENGTH - 10) "\n"
            block = substr(block, RSTART + RLENGTH)
        }
        printf "%s", printed >(out "/tasks/" count)
        printed = ""
    } else if (kind == "diff")
        printf "%s", block >(out "/tasks/" count)
    else
        exit failed = 1
}
/^```/ && kind { finish(); kind = ""; next }
/^```/ { kind = substr($0, 4); block = ""; next }
kind { block = block $0 "\n" }
END {
    if (failed)
        exit 1
    printf "%s", shared \
        "bool g_kq_verbose = false;\n" \
        "int main(int argc, char** argv)\n" \
        "{\n" \
        "    INIStore store;\n" \
        "    store.Open(\"app.ini\");\n" \
        "    QFile xml(\"app.xml\");\n" \
        "    if (!xml.open(QIODevice::ReadOnly))\n" \
        "        return 1;\n" \
        "    QDomDocument document;\n" \
        "    document.setContent(xml.readAll());\n" \
        "    QDomElement root = document.documentElement();\n" \
        "    switch (QByteArray(argv[argc - 1]).toInt()) {\n" \
        tasks \
        "    default:\n" \
        "        return 1;\n" \
        "    }\n" \
        "    return store.Write(\"app.ini\") ? 0 : 1;\n" \
        "}\n" >(out "/tasks.cpp")
}
