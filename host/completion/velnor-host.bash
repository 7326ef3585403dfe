# bash completion for velnor-host
_velnor_host() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words='' files=yes
    case $previous in
    --format) words="wav flac raw" files= ;;
    --bits) words="16 24 float" files= ;;
    --quality) words="normal best" files= ;;
    --tail) words="auto" files= ;;
    --rate) words="44100 48000 96000" files= ;;
    --block | --from | --to | --buses) files= ;;
    -o | --output | --preset | --save-preset | --component | --engine | --data) ;;
    *)
        case $COMP_CWORD:${COMP_WORDS[1]}:${COMP_WORDS[2]-} in
        1:*) words="install uninstall components info doctor render preset --help --help-all --version" files= ;;
        *:render:*) words="-o --format --bits --rate --block --tail --from --to --preset --save-preset --component --buses --split --quality --realtime --allow-silence --help" ;;
        *:install:*) words="--engine --data --write-setup --help" ;;
        *:components:*) words="--json --help" files= ;;
        *:info:*) words="--json --help" ;;
        2:preset:*) words="show save diff --help" files= ;;
        *:preset:save) words="--component --preset --help" ;;
        *) words="--help" ;;
        esac
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    case $files:$current in
    :* | yes:-*) ;;
    *) mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current") ;;
    esac
}
complete -o filenames -F _velnor_host velnor-host
