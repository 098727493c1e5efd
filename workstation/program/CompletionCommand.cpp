// Completion scripts for shells, made from the parser itself, so that they never lag behind it.
#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

/// Words that may follow, by the commands that came before ("" for none, "team", "team create").
using Words = std::map<std::string, std::vector<std::string>>;

void collect(const CLI::App& app, const std::string& path, const std::vector<std::string>& inherited, Words& words) {
  std::vector<std::string> own = inherited;
  for (const CLI::Option* option : app.get_options()) {
    for (const auto& name : option->get_lnames()) own.push_back("--" + name);
    for (const auto& name : option->get_snames()) own.push_back("-" + name);
  }
  std::vector<std::string>& here = words[path];
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    here.push_back(command->get_name());
    collect(*command, path.empty() ? command->get_name() : path + " " + command->get_name(), own, words);
  }
  here.insert(here.end(), own.begin(), own.end());
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

/// A function that walks the words typed so far along the known commands; bash and zsh share it.
std::string bashScript(const Words& words) {
  std::string script =
      "_zephor() {\n"
      "  local path=\"\" word try i\n"
      "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
      "    word=${COMP_WORDS[i]}\n"
      "    try=\"${path:+$path }$word\"\n"
      "    case \"$try\" in\n";
  for (const auto& entry : words) {
    if (!entry.first.empty()) script += "      '" + entry.first + "') path=$try ;;\n";
  }
  script +=
      "    esac\n"
      "  done\n"
      "  local cur=${COMP_WORDS[COMP_CWORD]} list=\"\"\n"
      "  case \"$path\" in\n";
  for (const auto& [path, list] : words) script += "    '" + path + "') list='" + joined(list) + "' ;;\n";
  script +=
      "  esac\n"
      "  mapfile -t COMPREPLY < <(compgen -W \"$list\" -- \"$cur\"; compgen -f -- \"$cur\")\n"
      "}\n"
      "complete -o filenames -F _zephor zephor\n";
  return script;
}

std::string fishScript(const Words& words) {
  std::string script = "complete -c zephor -f\n";
  for (const auto& [path, list] : words) {
    std::string condition = "__fish_use_subcommand";
    if (!path.empty()) {
      condition.clear();
      std::string rest = path;
      while (!rest.empty()) {
        const auto blank = rest.find(' ');
        condition += (condition.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + rest.substr(0, blank));
        rest = blank == std::string::npos ? "" : rest.substr(blank + 1);
      }
    }
    for (const auto& word : list) {
      script.append("complete -c zephor -n '").append(condition).append("' -a '").append(word).append("'\n");
    }
  }
  return script;
}

}  // namespace

void addCompletionCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("completion", "Print the completion script of a shell");
  auto* shell =
      command->add_option("SHELL", "bash, zsh or fish")->required()->check(CLI::IsMember({"bash", "zsh", "fish"}));
  command->callback([&app, shell, &selected] {
    const std::string name = shell->as<std::string>();
    selected = [&app, name](Context& context) {
      Words words;
      collect(app, "", {}, words);
      if (name == "fish") {
        context.output().raw(fishScript(words));
      } else {
        const std::string prologue = name == "zsh" ? "autoload -U +X bashcompinit && bashcompinit\n" : "";
        context.output().raw(prologue + bashScript(words));
      }
      return ExitCode::Done;
    };
  });
}

}  // namespace workstation::program
