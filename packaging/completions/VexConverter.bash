# Completes the commands VexConverter, make-dump and probe-dump in bash, with or without the package
# bash-completion. It asks the tools for their options, formats and color spaces.

_vexconverter() {
    local tool=${1/#\~/$HOME} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # bash splits --option=value into three words.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    local lister=${tool%make-dump} words
    lister=${lister%probe-dump}
    [[ $lister == "$tool" ]] || lister+=VexConverter
    COMPREPLY=()
    case $previous in
        -f | --format)
            # make-dump writes the formats of all boards.
            [[ $tool != *make-dump ]] || local -x VEX_HOST_BOARD_PLATFORM=vx2415
            words=$("$lister" --list-formats 2>&1 | awk 'NR > 2 { print $1 }')
            ;;
        -r | --raw-format)
            words="RGB888 RGBA8888 RGBA1010102 NV12 P010 YV12 YUV420P"
            ;;
        --colorspace | --input-colorspace | --output-colorspace)
            words=$("$lister" --list-colorspaces 2>&1 | awk 'NR > 2 { print $1 }')
            ;;
        -w | --width | -h | --height | -n | --frames)
            compopt +o default +o bashdefault
            return
            ;;
        -o | --output | --outputs | --pictures)
            compopt +o default +o bashdefault -o dirnames
            return
            ;;
        *)
            # The shell itself completes files.
            [[ $current == -* ]] || return
            words=$("$tool" --help 2>&1 | sed -nE 's/^ *(-[a-z], )?(--[a-z-]+).*/\2/p')
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
} 2>/dev/null

complete -o bashdefault -o default -F _vexconverter VexConverter make-dump probe-dump
