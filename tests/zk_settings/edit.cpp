#include "zk_settings/edit.h"

std::string edited(const Dialect& dialect, std::string_view bytes, const Words& words)
{
    const Document document(bytes, dialect);
    const std::string& command = words[0];
    const auto word = [&](std::size_t index) {
        return index < words.size() ? std::optional(words[index]) : std::nullopt;
    };
    const Request request = {word(1).value_or(""), word(2), word(3)};
    if (command == "set")
        return document.set(request);
    if (command == "append")
        return document.append(request);
    if (command == "prepend")
        return document.prepend(request);
    if (command == "remove")
        return document.remove(request);
    std::string text;
    const bool isGet = command == "get" || command == "all";
    for (const std::string& line : isGet              ? document.values(request, command == "all")
                                   : words.size() > 1 ? document.keys(request.section)
                                                      : document.sections())
        text += line + '\n';
    return text;
}

std::string message(const Failure& failure)
{
    return failure.line > 0 ? std::to_string(failure.line) + ": " + failure.text : failure.text;
}
