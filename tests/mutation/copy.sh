# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154
# Copies the tree in which faults are planted; to be sourced by scripts. The variables root, work and
# tree name the tree itself, a directory for the script's files, and the copy.

die() {
    echo "$*" >&2
    exit 1
}

# The files of the tree, committed or not.
list_files() {
    git -C "$root" ls-files --cached --others --exclude-standard | while IFS= read -r file; do
        if [ -f "$root/$file" ]; then
            printf '%s\n' "$file"
        fi
    done | sort
}

copied_files() {
    (cd "$tree" && find . -path ./build -prune -o -type f -print) | sed 's,^\./,,' | sort
}

# Changes when a file of the copy does.
copied_state() {
    (cd "$tree" && copied_files | xargs -d '\n' cksum | cksum)
}

# Updates the copy. Only changed files are written, to avoid rebuilding.
copy_tree() {
    local file
    mkdir -p "$tree"
    list_files >"$work/files"
    while IFS= read -r file; do
        if ! cmp -s "$root/$file" "$tree/$file"; then
            mkdir -p "$(dirname "$tree/$file")"
            cp "$root/$file" "$tree/$file"
        fi
    done <"$work/files"
    copied_files | comm -23 - "$work/files" | while IFS= read -r file; do
        rm "$tree/$file"
    done
}

# plant ID: plants a fault in the copy.
plant() {
    local file=$tree/${fault_file[$1]}
    planted "$tree" "$1" >"$work/planted" || die "$1 cannot be planted: its text has changed"
    cp "$file" "$work/original"
    cat "$work/planted" >"$file"
}

# uproot ID: removes it.
uproot() {
    cat "$work/original" >"$tree/${fault_file[$1]}"
}

# list_faults: describes the faults that the standard input names.
list_faults() {
    local id
    while read -r id; do
        printf '%-28s %-36s %s\n' "$id" "${fault_file[$id]}" "${fault_breaks[$id]}"
    done
}

# launcher: the compiler cache for cmake, if there is one.
launcher() {
    if command -v ccache >/dev/null; then
        echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
}
