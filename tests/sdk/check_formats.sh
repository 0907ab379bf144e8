#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the compiler refuses formats of IXLA_LOG that do not fit their arguments, and accepts
# the others without a warning: check_formats.sh COMPILER STANDARD BITS ROOT
set -u
compiler=$1 standard=$2 bits=$3 root=$4
failed=0
all_errors=()
case $compiler in
    clang*) all_errors=(-ferror-limit=0) ;;
esac

# compile OPTION...: compiles a function with the statements of the standard input, one in a line.
compile() {
    {
        printf '%s ' 'static void line(const PBaseptr<ILogger>& iLog, const PString& iText,' \
            'unsigned iCount) { (void)iLog; (void)iText; (void)iCount;'
        cat
        echo '} int main() { line(PBaseptr<ILogger>(), PString(), 1); }'
    } | "$compiler" "-std=c++$standard" "-m$bits" -fsyntax-only "$@" "-I$root/include" \
        "-I$root/port" "-I$root/sdk" -include helpers/Log.h -include portinglayer/PString.h \
        -x c++ - 2>&1
}

if ! compile -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror <<'END'; then
IXLA_LOG(info, iLog, 0, "text");
IXLA_LOG(error, iLog, 0, "%u of %ls", iCount, iText.ptr());
IXLA_LOG(debug, iLog.get(), 2, "%s %5.1f %% %c %p", "a", 1.5, 65, static_cast<void*>(nullptr));
IXLA_LOG_ONCE(info, iLog, 0, "%llu", 1ull);
IXLA_LOG_EVERY(std::chrono::seconds(1), info, iLog, 0, "text");
IXLA_LOG_EVERY(std::chrono::seconds(1), info, iLog, 0, "%d", 1);
if (iCount) IXLA_LOG(info, iLog, 0, "%d", 1); else IXLA_LOG(info, iLog, 0, "none");
END
    echo "$compiler c++$standard refuses a correct format"
    failed=1
fi

# Without any option that asks for warnings. The last three have a wide format, one that is no
# literal, and an object as an argument.
wrong=()
for macro in 'IXLA_LOG(' 'IXLA_LOG_ONCE(' 'IXLA_LOG_EVERY(std::chrono::seconds(1), '; do
    for arguments in '"%s", iCount' '"%d"' '"none", iCount' '"%s", iText.ptr()' '"%ls", "narrow"' \
        '"%d", 1ll' '"%y", 1' 'L"wide %d", 1' 'iText.ptr()' '"%ls", iText'; do
        wrong+=("${macro}info, iLog, 0, $arguments);")
    done
done
output=$(printf '%s\n' "${wrong[@]}" | compile "${all_errors[@]}")
for ((number = 1; number <= ${#wrong[@]}; ++number)); do
    if ! grep -q "^<stdin>:$number:" <<<"$output"; then
        echo "$compiler c++$standard accepts: ${wrong[number - 1]}"
        failed=1
    fi
done
exit $failed
