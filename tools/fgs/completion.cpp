#include "completion.h"

namespace fgs
{

namespace
{

template <typename Items, typename Text>
std::string joined(const Items &items, const char *between, const Text &textOf)
{
    std::string text;
    for (const auto &item : items)
        text += (text.empty() ? "" : between) + textOf(item);
    return text;
}

std::string itself(const std::string &text)
{
    return text;
}

bool isFile(const CompletedOption &option)
{
    return option.value.rfind("FILE", 0) == 0;
}

std::string optionNames(const CompletedCommand &command)
{
    return joined(command.options, " ", [](const CompletedOption &option) { return option.name; });
}

std::string commandNames(const std::vector<CompletedCommand> &commands)
{
    std::string names;
    for (const CompletedCommand &command : commands)
        names += (names.empty() ? "" : " ") + command.name;
    return names;
}

// ---- bash

const char BashStart[] = R"(# bash completion for fgs, made by fgs --completion bash

_fgs_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "${COMP_WORDS[COMP_CWORD]}")
}

_fgs_nothing() {
    compopt +o bashdefault +o default 2>/dev/null
}

_fgs() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
)";

const char BashValues[] = R"(    [ "$previous" = = ] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    case "$previous" in
)";

const char BashCommands[] = R"(    esac
    case "$current:${COMP_WORDS[1]}" in
)";

const char BashEnd[] = R"(    -*) ;;
    *) [ "$COMP_CWORD" = 2 ] && mapfile -t COMPREPLY < <(compgen -G "${current:-/dev/tty}*" | grep -E '^/dev/(tty(USB|ACM|S)|serial)') ;;
    esac
}

complete -o bashdefault -o default -F _fgs fgs
)";

/// One that takes anything is completed to nothing.
std::string bashValue(const CompletedOption &option)
{
    if (option.value.empty())
        return "";
    const std::string action = !option.choices.empty() ? "_fgs_words '" + joined(option.choices, " ", itself) + "'"
                               : isFile(option)        ? "mapfile -t COMPREPLY < <(compgen -f -- \"$current\")"
                                                       : "_fgs_nothing";
    return "    " + option.name + ") " + action + "; return ;;\n";
}

/// Each option once: it means the same in every command.
std::string bashValues(const std::vector<CompletedCommand> &commands)
{
    std::string text;
    for (const CompletedCommand &command : commands)
        for (const CompletedOption &option : command.options) {
            const std::string line = bashValue(option);
            if (text.find(line) == std::string::npos)
                text += line;
        }
    return text;
}

// ---- zsh

const char ZshStart[] = R"(#compdef fgs
# zsh completion for fgs, made by fgs --completion zsh

_fgs() {
    local -a commands=(
)";

const char ZshCommands[] = R"(    )
    if ((CURRENT == 2)); then
        _describe -t commands command commands -- general
        return
    fi
    local command=$words[2]
    shift words
    ((--CURRENT))
    case $command in
)";

const char ZshEnd[] = R"(    esac
}

if [[ $zsh_eval_context[-1] == loadautofunc ]]; then
    _fgs "$@"
else
    compdef _fgs fgs
fi
)";

/// In single quotes, with a backslash before each of these.
std::string zshQuoted(const std::string &text, const std::string &special)
{
    std::string quoted;
    for (const char letter : text)
        quoted += letter == '\'' ? "'\\''"
                                 : (special.find(letter) == std::string::npos ? "" : "\\") + std::string(1, letter);
    return quoted;
}

std::string zshDescription(const std::string &name, const std::string &help)
{
    return "        '" + name + ":" + zshQuoted(help, "\\") + "'\n";
}

std::string zshOption(const CompletedOption &option)
{
    const std::string action = !option.choices.empty() ? "(" + joined(option.choices, " ", itself) + ")"
                               : isFile(option)        ? "_files"
                                                       : " ";
    return " \\\n            '" + option.name + (option.value.empty() ? "" : "=") + "[" +
           zshQuoted(option.help, "\\[]:") + "]" +
           (option.value.empty() ? "" : ":" + zshQuoted(option.value, ":[]") + ":" + action) + "'";
}

} // namespace

std::string bashCompletion(const std::vector<CompletedCommand> &commands)
{
    std::string text = BashStart;
    text += "    if [ \"$COMP_CWORD\" = 1 ]; then\n        _fgs_words '" + commandNames(commands) + " help " +
            optionNames(commands.front()) + "'\n        return\n    fi\n";
    text += BashValues + bashValues(commands) + BashCommands;
    for (const CompletedCommand &command : commands)
        if (!command.name.empty())
            text += "    -*:" + command.name + ") _fgs_words '" + optionNames(command) + "' ;;\n";
    text += "    *:help) _fgs_words '" + commandNames(commands) + "' ;;\n";
    return text + BashEnd;
}

std::string zshCompletion(const std::vector<CompletedCommand> &commands)
{
    std::string text = ZshStart;
    for (const CompletedCommand &command : commands)
        if (!command.name.empty())
            text += zshDescription(command.name, command.help);
    text += zshDescription("help", "Tells the arguments of a command.");
    text += "    )\n    local -a general=(\n";
    for (const CompletedOption &option : commands.front().options)
        text += zshDescription(option.name, option.help);
    text += ZshCommands;
    for (const CompletedCommand &command : commands)
        if (!command.name.empty())
            text += "    " + command.name + ")\n        _arguments" + joined(command.options, "", zshOption) +
                    " \\\n            '1:link:_files' '*: : '\n        ;;\n";
    text += "    help)\n        _describe -t commands command commands\n        ;;\n";
    return text + ZshEnd;
}

} // namespace fgs
