# Completion of movra-producer for bash; needs nothing but bash itself.

_movra_producer() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local command="" i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case ${COMP_WORDS[i]} in
      run | devices) command=${COMP_WORDS[i]} && break ;;
    esac
  done

  local words=""
  case $command:$before in
    run:--source | run:--camera)
      words="test: file: screen: window:"
      [[ $word == /* ]] && mapfile -t COMPREPLY < <(compgen -f -- "$word") && return
      ;;
    run:--mode) words="0 1 2 3" ;;
    run:--log-level) words="off error warning info" ;;
    run:--big | run:--small) words="off" ;;
    run:--also) words="big= small=" ;;
    run:--out) mapfile -t COMPREPLY < <(compgen -d -- "$word") && return ;;
    run:--stats | run:--events | run:--script) mapfile -t COMPREPLY < <(compgen -f -- "$word") && return ;;
    run:--size | run:--fps | run:--duration | run:--threads | run:--start) return ;;
    run:*)
      # Bash takes the colon of file:PATH for the end of a word.
      if [[ $before == : && ${COMP_WORDS[COMP_CWORD - 2]} == file ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
      elif [[ $word == : && $before == file ]]; then
        mapfile -t COMPREPLY < <(compgen -f)
        return
      fi
      if [[ $word != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
      fi
      words="--help --source --start --mode --size --fps --once --loop --realtime --fast --duration
        --script --big --small --also --out --threads --no-contact-sheet --force --quiet --stats --events
        --log-level --log-filter"
      ;;
    devices:*) words="--help --json" ;;
    *) words="run devices --help --version" ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -o filenames -F _movra_producer movra-producer
