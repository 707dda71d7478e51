# Sourced by script/check. One function per stage: it prints to the stage's log and fails, or leaves one line in
# $logs/STAGE.remark for the stage's line.

remark() { printf '%s' "$2" >"$logs/$1.remark"; }

# our_files PATTERN...: files of this checkout, committed or not, without what is ignored.
our_files() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard -- "$@" | sort -u |
            while IFS= read -r file; do if [[ -f "$file" ]]; then printf '%s\n' "$file"; fi; done
    else
        # An exported tree has no build products but those below build/.
        local -a names=()
        local pattern
        for pattern in "$@"; do names+=(-o -path "./${pattern}"); done
        find . -path ./build -prune -o -path ./.git -prune -o -type f \( "${names[@]:1}" \) -print |
            sed 's#^\./##' | sort
    fi
}

our_sources() { our_files '*.cpp' '*.h' '*.mm'; }

# A database of LeakSanitizer's or the others' exceptions does not exist on purpose: a finding is mended.
sanitizer_environment() {
    local symbolizer=/usr/bin/llvm-symbolizer-19
    export ASAN_OPTIONS="detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1:strict_string_checks=1"
    export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
    export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1"
    if [[ -x "$symbolizer" ]]; then
        export ASAN_SYMBOLIZER_PATH="$symbolizer" UBSAN_SYMBOLIZER_PATH="$symbolizer"
        TSAN_OPTIONS+=":external_symbolizer_path=$symbolizer"
    fi
}

# sanitized_tests PRESET: builds the preset and runs its tests, as root like script/test.
sanitized_tests() {
    sanitizer_environment
    local -a environment=() aslr_off=()
    local name
    for name in ASAN_OPTIONS UBSAN_OPTIONS TSAN_OPTIONS ASAN_SYMBOLIZER_PATH UBSAN_SYMBOLIZER_PATH; do
        if [[ -v $name ]]; then environment+=("$name=${!name}"); fi
    done
    # ThreadSanitizer's shadow memory does not fit beside the layouts that kernels with high-entropy randomisation choose.
    if setarch "$(uname -m)" -R true 2>/dev/null; then aslr_off=(setarch "$(uname -m)" -R); fi
    with_build_lock cmake --preset "$1"
    # The build runs each test program once, to list its cases, so it needs the same surroundings as the tests.
    with_build_lock "${aslr_off[@]}" cmake --build --preset "$1"
    rm -f "$logs/$1.xml"
    local status=0
    as_root env PATH="/usr/local/sbin:/usr/sbin:/sbin:$PATH" LC_ALL=C.UTF-8 "${environment[@]}" "${aslr_off[@]}" \
        ctest --test-dir "build/$1" --parallel 2 --timeout 300 --output-on-failure --no-tests=error \
        --output-junit "$logs/$1.xml" || status=$?
    give_back "$logs" "build/$1/Testing"
    printf '\n'
    "$python" script/lib/test_report.py "$logs/$1.xml" | tee "$logs/$1.txt"
    local passed failed
    read -r passed _ failed _ < <(tail -n 1 "$logs/$1.txt")
    remark "$1" "$passed tests passed, $failed failed"
    ((status == 0 && failed == 0))
}

stage_asan() { sanitized_tests asan; }
stage_tsan() { sanitized_tests tsan; }

configure_clang() {
    with_build_lock cmake --preset release -B build/clang -D CMAKE_CXX_COMPILER=clang++-19 \
        -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON
}

# What an installation holds: these programs, what desktops look for, and nothing of the lab.
application=com.local.mirel.Quillbay
installed_files=(bin/quillbay bin/quillbay-agent bin/quillbayctl libexec/quillbay/dns-sd
    "share/applications/$application.desktop" "share/metainfo/$application.metainfo.xml"
    "share/icons/hicolor/scalable/apps/$application.svg"
    "share/icons/hicolor/symbolic/apps/$application-symbolic.svg")

# install_release PREFIX: builds what is installed, and installs it there.
install_release() {
    with_build_lock cmake --preset release
    with_build_lock cmake --build --preset release --target quillbay quillbay-agent quillbayctl dns-sd
    cmake --install build/release --prefix "$1"
}

stage_install() {
    local prefix found
    prefix="$(mktemp -d)"
    install_release "$prefix" || return 1
    found="$(cd "$prefix" && find . -type f | sed 's#^\./##' | sort)"
    local right=yes
    if [[ "$found" != "$(printf '%s\n' "${installed_files[@]}" | sort)" ]]; then
        printf 'cmake --install left:\n%s\nexpected were:\n' "$found"
        printf '%s\n' "${installed_files[@]}"
        right=no
    fi
    local program
    for program in quillbay quillbay-agent quillbayctl; do "$prefix/bin/$program" --version || right=no; done
    rm -rf "$prefix"
    remark install "${#installed_files[@]} files"
    [[ "$right" == yes ]]
}

stage_hardening() {
    local prefix status=0
    local -a programs
    prefix="$(mktemp -d)"
    install_release "$prefix" || return 1
    mapfile -t programs < <(find "$prefix" -type f -perm -u+x | sort)
    "$python" script/lib/hardening.py "${programs[@]}" || status=1
    rm -rf "$prefix"
    remark hardening "${#programs[@]} programs"
    return "$status"
}

stage_format() {
    local -a files
    mapfile -t files < <(our_sources)
    local said
    said="$(printf '%s\0' "${files[@]}" |
        xargs -0 --max-procs="$(nproc)" --max-args=40 clang-format-19 --dry-run -Werror 2>&1)" || true
    local -a wrong
    mapfile -t wrong < <(printf '%s\n' "$said" | sed -n 's/^\([^ :]*\):[0-9]*:[0-9]*: error:.*/\1/p' | sort -u)
    remark format "${#files[@]} files, ${#wrong[@]} of them not formatted"
    if [[ -n "$said" ]]; then
        printf 'To be formatted with clang-format-19 -i:\n'
        printf '  %s\n' "${wrong[@]}"
        ((${#wrong[@]})) || printf '%s\n' "$said"
    fi
    ((${#files[@]} > 0)) && [[ -z "$said" ]]
}

stage_qml() {
    with_build_lock cmake --preset release
    # With the descriptions of the types that QML knows from C++.
    with_build_lock cmake --build --preset release --target ui ui_qml_test
    local -a files
    mapfile -t files < <(our_files '*.qml')
    remark qml "${#files[@]} files"
    ((${#files[@]} > 0)) || return 1
    # It ends well whatever it warns of, and has nothing to say about what is right.
    local said
    said="$(/usr/lib/qt6/bin/qmllint -I build/release/qml "${files[@]}" 2>&1)" || true
    printf '%s\n' "$said"
    [[ -z "$said" ]]
}

# The analysis needs no object files, but the flags of each file.
stage_tidy() {
    configure_clang >/dev/null
    local -a databases=(build/clang)
    # The fuzz targets are built by the sanitizers' configuration alone.
    with_build_lock cmake --preset asan >/dev/null
    databases+=(build/asan)
    local -a cache=()
    if [[ "${QUILLBAY_TIDY_CACHE:-yes}" == no ]]; then cache=(--no-cache); fi
    "$python" script/lib/tidy.py --jobs "$(nproc)" --remark "$logs/tidy.remark" "${cache[@]}" "${databases[@]}"
}

# One target's turn: its corpus, then the runs, each with a bound on time, memory and input.
fuzz_one() {
    local program="$1" runs="$2" seconds="$3" name corpus scratch
    name="$(basename "$program")"
    corpus="fuzz/corpus/${name#fuzz_}"
    [[ -n "$(find "$corpus" -type f -print -quit 2>/dev/null)" ]] || {
        printf '%s: %s has no corpus\n' "$name" "$corpus"
        return 1
    }
    # New inputs go to a folder of their own: a check does not change the checkout.
    scratch="$(mktemp -d)"
    mkdir -p "$logs/fuzz"
    local status=0
    "$program" "$scratch" "$corpus" -runs="$runs" -max_total_time="$seconds" -seed=1 -timeout=10 \
        -rss_limit_mb=2048 -max_len=16384 -print_final_stats=1 -artifact_prefix="$logs/fuzz/$name-" || status=$?
    rm -rf "$scratch"
    return "$status"
}

stage_fuzz() {
    sanitizer_environment
    with_build_lock cmake --preset asan
    with_build_lock cmake --build --preset asan --target fuzzers
    local -a programs
    mapfile -t programs < <(find build/asan/bin -name 'fuzz_*' -type f -perm -u+x | sort)
    local listed
    listed="$(grep -c '^quillbay_fuzzer(' fuzz/CMakeLists.txt)"
    if ((${#programs[@]} != listed)); then
        printf 'There are %d fuzz programs for %d targets: remove what is left over in build/asan/bin.\n' \
            "${#programs[@]}" "$listed"
        return 1
    fi
    local program bad=()
    for program in "${programs[@]}"; do
        fuzz_one "$program" "${QUILLBAY_FUZZ_RUNS:-100000}" "${QUILLBAY_FUZZ_SECONDS:-10}" ||
            bad+=("$(basename "$program")")
    done
    remark fuzz "${#programs[@]} targets${bad[*]:+, a finding in: ${bad[*]}}"
    ((${#bad[@]} == 0))
}

stage_mac() {
    if [[ ! -x script/check-mac ]]; then
        remark mac "script/check-mac is missing"
        return 1
    fi
    script/check-mac
}

# The Mac's description comes from the configuration.
stage_desktop() {
    configure_clang
    local said
    said="$(desktop-file-validate "packaging/$application.desktop" 2>&1)" || true
    # A hint or a warning, which leaves the status alone, is a finding too.
    if [[ -n "$said" ]]; then
        printf '%s\n' "$said"
        return 1
    fi
    appstreamcli validate --no-net --pedantic "packaging/$application.metainfo.xml"
    local -a files
    mapfile -t files < <(our_files 'packaging/*.svg' 'packaging/*.xml' 'src/ui/symbols/*.svg')
    xmllint --nonet --noout "${files[@]}"
    "$python" script/lib/desktop.py build/clang/packaging/Info.plist "$logs/desktop.remark"
}

stage_structure() { "$python" script/lib/structure.py; }

stage_scripts() {
    local -a scripts
    mapfile -t scripts < <(our_files 'script/*' '.ci/*' 'lab/*' 'packaging/*' 'bench/*' |
        while IFS= read -r file; do
            if [[ "$file" == *.sh ]] || head -c 64 "$file" | grep -qaE '^#!.*\b(ba)?sh\b'; then
                printf '%s\n' "$file"
            fi
        done)
    remark scripts "${#scripts[@]} scripts"
    # Where a file is sourced from is computed, which shellcheck cannot follow, and what it leaves in variables is used
    # by the one that sources it.
    shellcheck --shell=bash --exclude=SC1090,SC1091,SC2034,SC2154 "${scripts[@]}"
}
