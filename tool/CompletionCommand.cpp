#include "Output.h"
#include "Program.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace tool {

namespace {

/// What a shell may propose behind a command's words.
struct Completion {
    std::string words; ///< "log show"
    std::string proposals;
    bool takesFiles;
};

void collect(CLI::App const& command, std::string const& words, std::vector<Completion>& all) {
    Completion completion{words, {}, false};
    auto const propose = [&](std::string const& word) {
        completion.proposals += (completion.proposals.empty() ? "" : " ") + word;
    };
    for (CLI::App const* const child : command.get_subcommands({}))
        if (!child->get_group().empty()) // a hidden one has none
            propose(child->get_name());
    for (CLI::Option const* const option : command.get_options()) {
        for (std::string const& name : option->get_lnames())
            propose("--" + name);
        completion.takesFiles |= option->get_positional();
    }
    all.push_back(completion);
    for (CLI::App const* const child : command.get_subcommands({}))
        if (!child->get_group().empty())
            collect(*child, words + (words.empty() ? "" : " ") + child->get_name(), all);
}

/// The words in front of the cursor that are no options say which command it is; longest first, so that "log
/// show" is found before "log".
void writeCases(Output& output, std::vector<Completion> const& all, char const* indent) {
    for (auto completion = all.rbegin(); completion != all.rend(); ++completion)
        output.writeLine(indent + ("\"" + completion->words) + (completion->takesFiles ? " \"*" : " \"*") +
                         ") proposals=\"" + completion->proposals +
                         "\" files=" + (completion->takesFiles ? "yes" : "no") + " ;;");
}

void writeBash(Output& output, std::vector<Completion> const& all) {
    output.writeLine(R"(# Completion of zun(1) for bash.
_zun() {
    local word words="" proposals files
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] || words+="$word "
    done
    case "$words " in)");
    writeCases(output, all, "        ");
    output.writeLine(R"(    esac
    word=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    while IFS= read -r word; do
        COMPREPLY+=("$word")
    done < <(compgen -W "$proposals" -- "${COMP_WORDS[COMP_CWORD]}"
        [[ $files == no ]] || compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -o filenames -F _zun zun)");
}

void writeZsh(Output& output, std::vector<Completion> const& all) {
    output.writeLine(R"(#compdef zun
# Completion of zun(1) for zsh.
_zun() {
    local word said="" proposals files
    for word in "${(@)words[2,CURRENT-1]}"; do
        [[ $word == -* ]] || said+="$word "
    done
    case "$said " in)");
    writeCases(output, all, "        ");
    output.writeLine(R"(    esac
    compadd -- ${=proposals}
    [[ $files == no ]] || _files
}
_zun "$@")");
}

} // namespace

void addCompletionCommand(CLI::App& program) {
    CLI::App& command = *program.add_subcommand("completion", "Write the completion of a shell");
    command.group("");
    auto const shell = std::make_shared<std::string>();
    command.add_option("SHELL", *shell, "bash or zsh")->required()->check(CLI::IsMember({"bash", "zsh"}));
    command.callback([&program, shell] {
        std::vector<Completion> all;
        collect(program, "", all);
        if (*shell == "bash")
            writeBash(Output::standard(), all);
        else
            writeZsh(Output::standard(), all);
    });
}

} // namespace tool
