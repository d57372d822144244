#include "cli/Command.h"
#include "cli/Completions.h"
#include "cli/ShellText.h"

namespace quillmor::cli {

namespace {

constexpr std::string_view kOpening = R"(# Completion of quillmor-cli for bash.

# Sets what a command takes: "arguments" to the kinds of its arguments, "options" to those of the
# values of its options. A kind is ":file", ":text" or a list of words; that of a switch is empty.
_quillmor_cli_describe() {
  case $1 in
)";

constexpr std::string_view kClosing = R"(
# Sets "words" to the words up to the cursor, and "before" to the beginning of the last one that the
# shell keeps: it splits words at "=" and ":", which belong to options and names here.
_quillmor_cli_split() {
  local index piece='' is_joined=false
  for ((index = 0; index <= COMP_CWORD; index++)); do
    piece=${COMP_WORDS[index]}
    if [[ $index -gt 0 && $piece =~ ^[=:]+$ ]]; then
      words[-1]+=$piece
      is_joined=true
      piece=
    elif $is_joined; then
      words[-1]+=$piece
      is_joined=false
    else
      words+=("$piece")
    fi
  done
  word=${words[-1]}
  before=${word%"$piece"}
}

# Sets "kind" to what the last word may be, and "prefix" and "word" to what of it comes before and
# what is to be completed.
_quillmor_cli_expect() {
  local given value='' is_plain=false seen=' '
  local -i count=0
  for given in "${words[@]:2:${#words[@]}-3}"; do
    if [[ -n $value ]]; then
      value=
    elif [[ $given =~ ^[0-9]*[\<\>] ]]; then
      value=:file
    elif $is_plain || [[ $given != -?* ]]; then
      count+=1
    elif [[ $given == -- ]]; then
      is_plain=true
    else
      [[ $given == *=* ]] || value=${options[$given]-}
      seen+="${given%%=*} "
      # Where both are taken, exactly one is.
      [[ $given == -o || $given == --in-place ]] && seen+='-o --in-place '
    fi
  done

  kind=${arguments[count]-}
  if [[ -n $value ]]; then
    kind=$value
  elif $is_plain; then
    return
  elif [[ $word == --*=* ]]; then
    prefix=${word%%=*}=
    kind=${options[${word%%=*}]-}
    word=${word#*=}
  elif [[ $word == -* || -z $kind ]]; then
    kind=
    for given in "${!options[@]}"; do
      [[ $seen == *" $given "* ]] || kind+="$given "
    done
  fi
}

_quillmor_cli() {
  COMPREPLY=()
  local -a words=() arguments=()
  local -A options=()
  local word before prefix='' kind
  _quillmor_cli_split
  if [[ ${#words[@]} -gt 2 ]]; then
    _quillmor_cli_describe "${words[1]}" || return
    _quillmor_cli_expect
  elif [[ $word == -* ]]; then
    kind='-h --help --version'
  else
    kind=$_quillmor_cli_commands
  fi

  local -a found=()
  case $kind in
    :text) ;;
    :file)
      # Lets readline quote blanks and mark folders.
      compopt -o filenames 2>/dev/null
      mapfile -t found < <(compgen -f -- "$word")
      ;;
    *) mapfile -t found < <(compgen -W "$kind" -- "$word") ;;
  esac
  local reply
  for reply in "${found[@]}"; do
    reply=$prefix$reply
    COMPREPLY+=("${reply#"$before"}")
  done
}

complete -F _quillmor_cli quillmor-cli
)";

std::string kindOf(const ValueDescription& value) {
  switch (value.kind) {
    case ValueKind::text:
      return ":text";
    case ValueKind::file:
      return ":file";
    case ValueKind::choice:
      return singleQuoted(joinedWords(value.choices, " "));
  }
  return {};
}

std::string description(const Command& command) {
  std::string text = "    " + std::string(command.name) + ")\n      arguments=(";
  for (const ValueDescription& argument : command.arguments) text += kindOf(argument) + " ";
  if (text.ends_with(' ')) text.pop_back();
  text += ")\n      options=(";
  for (const OptionDescription& option : command.options) {
    text += "[" + std::string(option.name) + "]=";
    text += (option.isSwitch() ? "''" : kindOf(option.value)) + " ";
  }
  return text + "[-h]='' [--help]='')\n      ;;\n";
}

}  // namespace

std::string bashCompletion() {
  std::string text(kOpening);
  std::vector<std::string_view> names;
  for (const Command& command : commands()) {
    text += description(command);
    names.push_back(command.name);
  }
  text += "    *) return 1 ;;\n  esac\n}\n\n_quillmor_cli_commands='";
  return text + joinedWords(names, " ") + "'\n" + std::string(kClosing);
}

}  // namespace quillmor::cli
