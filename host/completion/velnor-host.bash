# bash completion for velnor-host
_velnor_host() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words=
    case $previous in
    --format) words="wav flac raw" ;;
    --bits) words="16 24 float" ;;
    --tail) words="auto" ;;
    --rate) words="44100 48000 96000" ;;
    esac
    if [ -z "$words" ]; then
        case ${COMP_WORDS[1]} in
        render) words="-o --format --bits --rate --block --tail --from --to --preset --save-preset --component --buses --split --realtime --allow-silence --help" ;;
        install) words="--engine --data --write-setup --help" ;;
        components | info) words="--json --help" ;;
        preset) [ "$COMP_CWORD" -eq 2 ] && words="show save diff" || words="--component --preset --help" ;;
        uninstall | doctor) words="--help" ;;
        esac
        [ "$COMP_CWORD" -eq 1 ] && words="install uninstall components info doctor render preset --help --help-all --version"
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    case $current in -*) ;; *) mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current") ;; esac
}
complete -o filenames -F _velnor_host velnor-host
