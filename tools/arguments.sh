# What demo.sh and shell.sh say of their arguments alike. To be sourced by them, with their folder in $root.

wrong() {
    echo "ERROR: $1 ./${0##*/} --help tells more." >&2
    exit 2
}

# The comment at the script's head.
show_help() {
    sed -n '2,/^set /{/^set /d;s/^# \{0,1\}//p}' "$root/${0##*/}"
    exit 0
}

require_seconds() {
    [[ "${1:-}" =~ ^[1-9][0-9]{0,5}$ ]] || wrong "--seconds needs a number of seconds."
}

require_cameras() {
    [[ "${1:-}" =~ ^[1-9]$ ]] || wrong "--cameras needs a number from 1 to 9."
}

# An argument that is nothing known.
refuse() {
    [[ "$1" != *@* ]] ||
        wrong "An argument with an @ is no file and no camera's address; it may hold a password and is not printed."
    wrong "$1 is no file, no camera's address and no option."
}
