#!/usr/bin/env bash
# Whether the manual page, the completions and the page about sources know the options that the
# program has, and no others: options_test.sh PROGRAM manual|manual-values|manual-lint|bash|zsh|sources
set -euo pipefail
program=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Compares two lists of words, in any order.
same() {
  diff <(tr ' ' '\n' <<<"$2" | sed '/^$/d' | sort -u) <(tr ' ' '\n' <<<"$3" | sed '/^$/d' | sort -u) ||
    { echo "$1 differs from --help: < is missing there, > is not in --help" >&2 && exit 1; }
}

# The long options in the help of the program, or of one of its commands.
options() { "$program" "$@" --help | grep -oE '^ +(-h,)?--[a-z][a-z-]*' | grep -oE -e '--.*'; }

commands() { "$program" --help | sed '1,/^Subcommands:/d;/^$/,$d' | awk '{print $1}'; }

# Guards the comparisons: an empty list equals another.
[[ $(options run) == *--source* && $(options) == *--version* && $(commands) == *run* ]]

check_manual() {
  local page heads
  page=$(sed 's/\\-/-/g' "$root/docs/movra-producer.1")
  heads=$(awk '/^\.TP/ { getline; print }' <<<"$page")
  same "the manual page" "$(options && options run && options devices)" \
    "$(grep -oE -e '--[a-z][a-z-]*' <<<"$heads")"
  same "its list of exit codes" \
    "$("$program" run --help | sed '1,/^Exit codes:/d' | grep -oE '^ *[0-9]+')" \
    "$(sed '1,/^\.SH EXIT STATUS/d;/^\.SH/,$d' <<<"$page" | sed -n 's/^\.B \([0-9]*\)$/\1/p')"
}

# "NAME#VALUE#TEXT", a line for each long option: from the help of the program and its commands,
help_entries() {
  { "$program" --help && "$program" run --help && "$program" devices --help; } | awk '
    function flush() { if (head != "") print head "#" text; head = text = "" }
    /^ +(-h,)?--/ {
      flush()
      sub(/^ +(-h,)?/, "")
      at = match($0, /  /)
      head = at ? substr($0, 1, at - 1) : $0
      text = at ? substr($0, at) : ""
      sub(/,--camera/, "", head)
      sub(/ \.\.\.$/, "", head)
      if (!sub(/ /, "#", head)) head = head "#"
      next
    }
    head != "" && substr($0, 1, 20) ~ /^ +$/ { text = text " " $0; next }
    { flush() }
    END { flush() }'
}

# and from the manual page, with its macros taken away.
manual_entries() {
  sed -E 's/\\f[BIR]//g; s/\\-/-/g; s/^\.[BI] //
    /^\.(BI|BR|IR|RI) /{s/^\.[A-Z]+ //; s/ //g; s/"//g}
    s/\\~/ /g' "$root/docs/movra-producer.1" | awk '
    function flush() { if (head ~ /^--/) print head "#" text; head = text = "" }
    /^\.TP/ { flush(); getline head; sub(/^-h,/, "", head)
              if (!sub(/ /, "#", head)) head = head "#"; next }
    /^\.S/ { flush(); next }
    { text = text " " $0 }
    END { flush() }'
}

# What of a text can contradict another one: numbers, times, sizes, options, that there is a default.
facts() {
  grep -oE -e '--[a-z][a-z-]*|[a-z]+=[A-Za-z]+|[0-9][0-9A-Za-z./]*|default' <<<"$1" |
    sed 's/[.]*$//' | sort -u
}

check_manual-values() {
  same "the values in the manual page" "$(help_entries | cut -d'#' -f1,2 | tr ' ' '_')" \
    "$(manual_entries | cut -d'#' -f1,2 | tr ' ' '_')"
  local name text manual missing bad=0
  while IFS='#' read -r name _ text; do
    manual=$(manual_entries | grep -e "^$name#" | cut -d'#' -f3-)
    missing=$(comm -23 <(facts "$text") <(facts "$manual"))
    [[ -z $missing ]] || { echo "$name: not in the manual page: $missing" >&2 && bad=1; }
    [[ $text == *default* || $manual != *default* ]] ||
      { echo "$name: the manual page alone has a default" >&2 && bad=1; }
  done < <(help_entries)
  return $bad
}

# How the ids of each kind of source are written, "file:PATH", as the help shows them.
id_forms() {
  "$program" run --help | sed -n '/^  --source/,/^  --start/p' | sed -E 's/--source,--camera ID//' |
    sed -nE 's/^ +([^ ?][^ ]*)  .*/\1/p'
}

# What they begin with, "file:" and "/dev/video".
id_prefixes() { id_forms | sed -E 's/[A-Z]+$//'; }

[[ $(id_prefixes) == *:* && $(id_prefixes) == */* ]]

check_sources() {
  local help page=$root/docs/sources.md
  help=$("$program" run --help | sed -n '/^  --source/,/^  --start/p')
  same "the page's list of ids" "$(id_forms)" \
    "$(sed -n '/^| Id /,/^$/p' "$page" | sed -nE 's/^\| `([^`]*)` .*/\1/p')"
  same "the page's options" "$(sed -nE 's/^ +\?(.*)/\1/p' <<<"$help" | tr '&' '\n')" \
    "$(sed -n '/^## Options/,/^## Traits/p' "$page" | sed -nE 's/^\| `([^`]*)` .*/\1/p')"
}

check_manual-lint() {
  command -v man >/dev/null || { echo "skipped: man is not installed" && exit 0; }
  local warnings
  warnings=$(LC_ALL=C.UTF-8 man --warnings -l "$root/docs/movra-producer.1" 2>&1 >/dev/null)
  [[ -z $warnings ]] || { echo "$warnings" >&2 && exit 1; }
}

# What bash offers for the last of the words.
offered() {
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _movra_producer
  echo "${COMPREPLY[*]}"
}

check_bash() {
  # shellcheck source=completions/movra-producer.bash
  source "$root/completions/movra-producer.bash"
  same "bash's completion" "$(commands && options)" "$(offered movra-producer "")"
  local command
  for command in $(commands); do
    same "bash's completion of $command" "$(options "$command")" "$(offered movra-producer "$command" --)"
  done
  same "what follows another option" "--log-level --log-filter" \
    "$(offered movra-producer run --quiet --log)"
  same "the values of --log-level" "warning" "$(offered movra-producer run --log-level w)"
  # Those that are paths are files that there may be on this machine or not.
  same "the kinds of sources" "$(id_prefixes | grep -v '^/')" \
    "$(offered movra-producer run --source "")"
  same "the paths of sources" "$(id_prefixes | grep '^/' | cut -d/ -f-2)" \
    "$(for prefix in $(id_prefixes | grep '^/'); do
      offered movra-producer run --source "$(cut -d/ -f-2 <<<"$prefix")"
    done)"
  cd "$root/docs"
  same "the files of a source" "producer.md" "$(offered movra-producer run --source file : prod)"
  same "a file" "producer.md" "$(offered movra-producer run prod)"
}

check_zsh() {
  local file=$root/completions/_movra-producer script command
  script=$(sed 's/([^)]*)//g' "$file")  # Without the options that an option excludes.
  same "zsh's completion" "$(commands && options)" \
    "$(sed -n '/^_arguments -C/,/^\[\[/p' <<<"$script" | grep -oE -e '--[a-z][a-z-]*' &&
      sed -n "/^local -a commands/,/^)/s/^ *'\([a-z]*\):.*/\1/p" "$file")"
  for command in $(commands); do
    same "zsh's completion of $command" "$(options "$command")" \
      "$(sed -n "/^  $command)/,/;;/p" <<<"$script" | grep -oE -e '--[a-z][a-z-]*')"
  done
  same "zsh's kinds of sources" "$(id_prefixes)" \
    "$(sed -n '/^_movra_producer_source()/,/^}/p' "$file" |
      grep -oE -e '(local -a devices=\(|compadd .*)[^*]*' | sed -E 's/^local -a devices=\(//;
        s/compadd( -S [^ ]*)?//; s/\$devices//')"
  if command -v zsh >/dev/null; then zsh -n "$file"; fi
}

"check_$2"
