#!/usr/bin/env bash
# Mutation check, run by hand (not in CI): does a test notice when a named behaviour changes?
# Applies each one-line change of the list below to the sources, one at a time, rebuilds
# incrementally (the one changed file and the programs that link it), runs the whole suite, and
# prints KILLED (with the failing tests) or SURVIVED. Ends with "killed K of N".
#
#   bash scripts/mutants.sh              every change, after a baseline run of the unchanged suite
#   bash scripts/mutants.sh --list       the changes, numbered; checks that each still matches
#   bash scripts/mutants.sh --only 3,17  those changes only (the figure then counts them alone)
#
# Each change must match its file exactly once; the script stops before changing anything when
# one does not. Every file is restored after its change, also on Ctrl-C or a failed build.
# Needs a configured build/ (bash scripts/build.sh). Per change: one compile, the relinks, and
# the suite up to its first failing test; a survivor runs all of it.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build="$top/build"
# The release package is built from the sources twice, in folders of its own, and the two are
# compared with each other: a changed source reaches both alike, so that test cannot notice a
# change and would only add its own two full builds to every run.
suite_exclude='^release_reproducible$'

# The list. A change is a header line "FILE: the behaviour it breaks", the text as it stands
# ("- "), and its replacement ("+ "). A header "FILE: (equivalent) reason" marks a change that no
# test can observe; it is checked to match, but not run and not counted.
changes() {
    cat <<'LIST'
app/command_line.cpp: -x is compared case-sensitively
- argv[1][1] == 'x'
+ argv[1][1] == 'X'
app/temp_folder.cpp: the generator is seeded with the time
- g_tempNameCalls.srand(static_cast<unsigned>(g_tempNameCalls.time(nullptr)));
+ g_tempNameCalls.srand(1u);
app/temp_folder.cpp: a thousand attempts at a free name
- attempt < 1000 && !free
+ attempt < 999 && !free
app/temp_folder.cpp: the first draw is the high half of the name's number
- (high << 16)
+ (high << 15)
app/temp_folder.cpp: the name's digits are lower-case hexadecimal
- wxString::Format("%s%x", prefix, number)
+ wxString::Format("%s%X", prefix, number)
app/temp_folder.cpp: the working folder is hidden
- attributes | FILE_ATTRIBUTE_HIDDEN);
+ attributes);
app/temp_folder.cpp: (equivalent) rand() is below 0x8000 here, so the two halves never overlap and or equals plus
- (high << 16) | static_cast<unsigned>
+ (high << 16) + static_cast<unsigned>
app/CFileLogger.cpp: errors, warnings and messages reach the previous target only with pass-on
- if (m_passOn && m_previous)
+ if (m_previous)
app/CFileLogger.cpp: an empty error or warning still gets the time and the marker
- if (level != wxLOG_Message || !msg.empty())
+ if (!msg.empty())
app/CFileLogger.cpp: an existing log file is appended to
- m_file.Open(m_path, wxFile::write_append, wxS_DEFAULT)
+ m_file.Open(m_path, wxFile::write, wxS_DEFAULT)
app/CFileLogger.cpp: a failed write leaves a note in memory
- m_text += TimeOf(info) + wxT(" ! Can't write to log file. Closing file");
+ m_text += TimeOf(info);
app/CFileLogger.cpp: (equivalent) wxFile writes through to the system at once; Flush only commits to the disk, which no test can see short of a power cut
- m_file.Flush();
+ ;
app/main.cpp: the entry makes the logger with pass-on off
- wxLog::GetActiveTarget(), false);
+ wxLog::GetActiveTarget(), true);
app/main.cpp: the exit status is 0 after a run
- return 0;
+ return 1;
app/unattended.cpp: a failed assertion is logged instead of asking
- void LogAssertionsInsteadOfAsking() { wxSetAssertHandler(LogAssertion); }
+ void LogAssertionsInsteadOfAsking() {}
Common/common.cpp: JoinPath drops one leading separator of the name
- ? name.Mid(1) : name;
+ ? name : name;
Common/common.cpp: DirExists is false for a file
- return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
+ return attributes != INVALID_FILE_ATTRIBUTES;
Common/common.cpp: a privilege that the token lacks gives false
- return adjusted && error == ERROR_SUCCESS;
+ return adjusted;
Common/common.cpp: DeleteDirectory leaves every dot name in place
- if (data.cFileName[0] == L'.')
+ if (data.cFileName[0] == L'.' && (data.cFileName[1] == 0 || data.cFileName[1] == L'.'))
Common/common.cpp: CopyTo empties the queue whatever happens
- m_items.Clear();
+ ;
Common/common_runner.cpp: the child inherits the pipe's write end
- nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
+ nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
Common/common_runner.cpp: the child runs without a window
- TRUE, CREATE_NO_WINDOW, nullptr,
+ TRUE, 0, nullptr,
Common/common_runner.cpp: the pipe's handles are made inheritable
- SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
+ SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, FALSE};
Common/common_runner.cpp: the read end stays with the parent
- HANDLE_FLAG_INHERIT, 0))
+ HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT))
Common/common_runner.cpp: standard error goes into the pipe only when asked
- startup.hStdError = captureStderr ? writeEnd.Get() : nullptr;
+ startup.hStdError = writeEnd.Get();
Common/common_runner.cpp: the wait polls every 10 ms
- g_processCalls.sleep(10);
+ g_processCalls.sleep(20);
Common/common_runner.cpp: exit code 259 counts as still running
- && code == STILL_ACTIVE)
+ && code == STILL_ACTIVE && false)
Common/common_runner.cpp: a pipe failure leaves the current directory changed
- return -1; // the current directory stays as set: kept as the tool always did
+ { ::SetCurrentDirectoryW(savedDir.wc_str()); return -1; }
Common/common_runner.cpp: the current directory is restored after a call
- ::SetCurrentDirectoryW(savedDir.wc_str());
+ ;
Common/common_runner.cpp: RunCommand does not capture standard error
- return RunProcess(commandLine, true, GetSystemDir(), output, false);
+ return RunProcess(commandLine, true, GetSystemDir(), output, true);
Common/common_sysinfo.cpp: a product key without MPVersion means edition 1
- key.GetDWordValue(wxT("MPVersion"), 1);
+ key.GetDWordValue(wxT("MPVersion"), 2);
Common/common_sysinfo.cpp: identifiers are written in lower case
- L"%08x-%04x-%04x-
+ L"%08X-%04x-%04x-
Common/CFileCopierFS.cpp: RPC_E_TOO_LATE from CoInitializeSecurity counts as success
- if (FAILED(hr) && hr != RPC_E_TOO_LATE)
+ if (FAILED(hr))
Common/CFileCopierFS.cpp: Vista (major version 6) is the first supported system
- .versionMS >> 16) <= 5)
+ .versionMS >> 16) <= 6)
Common/CFileCopierFS.cpp: a failed snapshot is retried after two seconds
- ::Sleep(2000);
+ ::Sleep(200);
Common/CFileCopierFS.cpp: earlier stages of a pattern keep folders only
- if (last || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
+ if (true)
Common/BCD.cpp: the boot loader object's type
- const DWORD kBootLoaderType = 0x10200003;
+ const DWORD kBootLoaderType = 0x10200004;
Common/BCD.cpp: an MBR partition is matched by its offset too
- return element.U32(56) == signature && element.I64(32) == offset;
+ return element.U32(56) == signature;
Common/drivers.cpp: a fixed disk is not removable
- return (wantRemovable == 1 && !fixed) || (wantRemovable == 0 && fixed);
+ return (wantRemovable == 1 && fixed) || (wantRemovable == 0 && fixed);
Common/drivers.cpp: identifiers are upper-cased
- target.Add(text.Upper());
+ target.Add(text);
Common/CRecovery.cpp: the image below \Recovery is named WinRE.wim
- wxT("WinRE.wim"), wxDIR_FILES
+ wxT("boot.wim"), wxDIR_FILES
Common/CRecovery.cpp: the system disk is the one whose number is the system volume's
- if (number == volumeNumber)
+ if (number != volumeNumber)
Common/get_mpdiag.cpp: the system items are queued in their order
- src->AddItem(wxT("*.log"));
+ src->AddItem(wxT("debug")); src->AddItem(wxT("*.log")); if (false)
Common/get_mpdiag.cpp: the event logs are collected only in an extended run
- if (extended)
+ if (true)
Common/get_mpdiag.cpp: the hive is saved with "reg save"
- {wxT("reg save hklm\\BCD00000000 %s\\BCD00000000.hiv /y"), wxT("BCD00000000.hiv")},
+ {wxT("reg save hklm\\BCD00000000 \"%s\\BCD00000000.hiv\" /y"), wxT("BCD00000000.hiv")},
Common/get_mpdiag.cpp: the disks are listed by "wmic diskdrive list"
- {wxT("wmic diskdrive list"), wxT("wmic_disks.log")},
+ {wxT("wmic diskdrive list brief"), wxT("wmic_disks.log")},
Common/get_mpdiag.cpp: device numbers start again at 0 on each run
- lines.Add(wxString::Format(wxT("Device %d:"), static_cast<int>(i)));
+ static int next = 0; lines.Add(wxString::Format(wxT("Device %d:"), next++));
Common/get_mpdiag.cpp: a file is only named before Write, so a failed write adds no record of its own
- wxTextFile file(path);
+ wxTextFile file; file.Create(path);
Common/get_mpdiag.cpp: an existing product log is overwritten
- ::CopyFileW(source.wc_str(), target.wc_str(), FALSE);
+ ::CopyFileW(source.wc_str(), target.wc_str(), TRUE);
Common/get_mpdiag.cpp: (equivalent) every log line is already flushed as it is written, so FlushActive finds nothing pending
- wxLog::FlushActive();
+ ;
Common/ziptools.cpp: a missing source is a warning naming the source as passed
- ("Zip invalid source (%s)", source);
+ ("Zip invalid source (%s)", full);
Common/ziptools.cpp: entries are deflated at level 9
- const int kBestCompression = 9;
+ const int kBestCompression = 8;
Common/ziptools.cpp: a file that may pass 4 GiB once deflated gets Zip64 fields
- DeflateBound(size) >= limit ? wxZIP_FORMAT_ZIP64
+ DeflateBound(size) >= limit ? wxZIP_FORMAT_DEFAULT
Common/ziptools.cpp: entries carry the packing time
- zip.PutNextEntry(name, wxDateTime::Now(), wxInvalidOffset)
+ zip.PutNextEntry(name, wxDateTime(1, wxDateTime::Jan, 2000), wxInvalidOffset)
Common/ziptools.cpp: hidden files are packed
- wxDIR_FILES | wxDIR_DIRS | wxDIR_HIDDEN
+ wxDIR_FILES | wxDIR_DIRS
Common/ziptools.cpp: a file that cannot be opened still gets its entry
- wxFileInputStream input(path);
+ wxFileInputStream input(path); if (!input.IsOk()) return false;
Common/ziptools.cpp: a failed write of the archive is logged
- ("Zip write failed (%s) error (%d)",
+ ("",
Common/ziptools.cpp: entry names are relative to the packed folder
- filename.Mid(TraversalPrefixLength(root))
+ filename.Mid(TraversalPrefixLength(root) + 1)
Common/ziptools.cpp: (equivalent) the zip stream refuses a new entry only once it has failed, and then refuses every later one too, so stopping or going on writes the same bytes
- ? wxDIR_CONTINUE : wxDIR_STOP;
+ ? wxDIR_CONTINUE : wxDIR_CONTINUE;
app/main.cpp: records after the log is detached go nowhere, not to standard error
- wxLog::DontCreateOnDemand();
+ ;
app/main.cpp: the working folder is removed at the end
- RemoveWorkingFolder(workFolder);
+ ;
app/temp_folder.cpp: the working folder goes also where the library's removal stops short
- if (!folder.empty() && DirExists(folder))
+ if (false)
app/temp_folder.cpp: (equivalent) under Wine nothing below a link is deleted even when the removal enters it (the test passes with this change), so only Windows would show it
- if (isFolder && !(data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
+ if (isFolder)
app/temp_folder.cpp: a folder that cannot be made leaves nothing on standard error
- wxLogNull quiet;
+ ;
app/unattended.cpp: a delay-loaded library comes from the system folder only
- if (notification != dliNotePreLoadLibrary)
+ if (true)
app/unattended.cpp: libraries loaded at run time are searched for in the system folder only
- set(kSearchSystem32);
+ ;
LIST
}

# ---- the list, read --------------------------------------------------------------------------

files=() whats=() froms=() tos=() kinds=()
parse() {
    local line n=-1
    while IFS= read -r line; do
        case "$line" in
        '- '*) froms[n]=${line:2} ;;
        '+ '*) tos[n]=${line:2} ;;
        *': '*)
            n=$((n + 1))
            files[n]=${line%%: *}
            whats[n]=${line#*: }
            kinds[n]=mutant
            if [[ ${whats[n]} == '(equivalent) '* ]]; then
                kinds[n]=equivalent
                whats[n]=${whats[n]#(equivalent) }
            fi
            ;;
        *) echo "mutants.sh: cannot read list line: $line" >&2; exit 2 ;;
        esac
    done < <(changes)
}

# Counts (count) or replaces (apply) the exact text; apply refuses anything but one match.
edit() {
    python3 - "$@" <<'PY'
import sys
mode, path, old, new = sys.argv[1:5]
with open(path, encoding="utf-8", newline="") as f:
    text = f.read()
n = text.count(old)
if mode == "count":
    print(n)
    sys.exit(0)
if n != 1:
    sys.exit(f"{path}: the text matches {n} times")
with open(path, "w", encoding="utf-8", newline="") as f:
    f.write(text.replace(old, new))
PY
}

check_list() {
    local i bad=0 n
    for i in "${!files[@]}"; do
        n=$(edit count "$top/${files[i]}" "${froms[i]-}" "")
        if [ -z "${froms[i]-}" ] || [ -z "${tos[i]-}" ] || [ "${froms[i]}" = "${tos[i]}" ]; then
            echo "CHANGE $((i + 1)) (${files[i]}: ${whats[i]}): needs a '- ' text and a different '+ ' text" >&2
            bad=1
        elif [ "$n" != 1 ]; then
            echo "CHANGE $((i + 1)) (${files[i]}: ${whats[i]}): matches $n times, not once: ${froms[i]}" >&2
            bad=1
        fi
    done
    [ $bad = 0 ] || { echo "mutants.sh: the list no longer fits the sources; nothing was changed" >&2; exit 2; }
}

# ---- restoring -------------------------------------------------------------------------------

saved=""   # the file under change, while it is changed
backup=$(mktemp)
restore() {
    if [ -n "$saved" ]; then
        # A fresh time stamp on purpose: the next build then recompiles the restored file.
        cat "$backup" >"$top/$saved"
        saved=""
    fi
}
trap 'restore; rm -f "$backup"' EXIT
trap 'echo; echo "mutants.sh: interrupted; sources restored" >&2; exit 130' INT TERM

# ---- building and testing --------------------------------------------------------------------

logs="$build/mutants"
failed_tests=""
# The baseline runs every test; a change is killed by its first failing test, and only a survivor
# costs the whole suite.
stop=""
# Runs the suite; fills failed_tests with the failing CTest tests and their failing cases.
run_suite() {
    local log=$1
    if (cd "$build" && ctest -E "$suite_exclude" --output-on-failure $stop) >"$log" 2>&1; then
        failed_tests=""
        return 0
    fi
    local tests cases
    tests=$(sed -n 's/^[[:space:]]*[0-9]* - \([^ ]*\) (.*)$/\1/p' "$log" | paste -sd, - | sed 's/,/, /g')
    cases=$(sed -n 's/^[0-9: ]*\[  FAILED  \] \([A-Za-z0-9_]*\.[A-Za-z0-9_/]*\)\( .*\)\{0,1\}$/\1/p' "$log" |
        sort -u | paste -sd, - | sed 's/,/, /g')
    failed_tests="${tests:-the suite}${cases:+ [$cases]}"
    return 1
}

build_all() { cmake --build "$build" -j"$(nproc)" >"$1" 2>&1; }

seconds() { date +%s; }

# ---- main ------------------------------------------------------------------------------------

parse
check_list

only=""
case "${1-}" in
--list)
    for i in "${!files[@]}"; do
        printf '%3d %-11s %s: %s\n' $((i + 1)) "${kinds[i]}" "${files[i]}" "${whats[i]}"
    done
    exit 0
    ;;
--only) only=",${2:?--only takes numbers like 3,17},";;
"") ;;
*) echo "usage: $0 [--list | --only N[,N...]]" >&2; exit 2 ;;
esac

[ -f "$build/CMakeCache.txt" ] || { echo "mutants.sh: no build/ yet: run bash scripts/build.sh first" >&2; exit 2; }
mkdir -p "$logs"
start=$(seconds)

echo "baseline: building and running the unchanged suite"
build_all "$logs/baseline-build.log" || { echo "mutants.sh: the unchanged sources do not build, see $logs/baseline-build.log" >&2; exit 2; }
t0=$(seconds)
run_suite "$logs/baseline.log" || { echo "mutants.sh: the unchanged suite fails ($failed_tests), see $logs/baseline.log" >&2; exit 2; }
echo "baseline: all tests pass ($(($(seconds) - t0)) s)"
stop=--stop-on-failure

killed=0 total=0 survivors=()
for i in "${!files[@]}"; do
    number=$((i + 1))
    [ -z "$only" ] || [[ $only == *",$number,"* ]] || continue
    label=$(printf '#%02d %s: %s' "$number" "${files[i]}" "${whats[i]}")
    if [ "${kinds[i]}" = equivalent ]; then
        echo "EQUIVALENT $label"
        continue
    fi
    total=$((total + 1))
    t0=$(seconds)
    cp "$top/${files[i]}" "$backup"
    saved=${files[i]}
    edit apply "$top/${files[i]}" "${froms[i]}" "${tos[i]}"
    if ! build_all "$logs/$number-build.log"; then
        restore
        echo "mutants.sh: change $number does not build, see $logs/$number-build.log; fix the list" >&2
        exit 2
    fi
    t1=$(seconds)
    if run_suite "$logs/$number.log"; then
        result=SURVIVED
        survivors+=("$label")
    else
        result=KILLED
        killed=$((killed + 1))
    fi
    restore
    t2=$(seconds)
    echo "$result $label (build $((t1 - t0)) s, suite $((t2 - t1)) s)${failed_tests:+ by $failed_tests}"
done

echo "rebuilding the restored sources"
build_all "$logs/restored-build.log" || { echo "mutants.sh: the restored sources do not build" >&2; exit 2; }
elapsed=$(($(seconds) - start))
echo
for s in ${survivors[@]+"${survivors[@]}"}; do echo "survivor: $s"; done
echo "time: $((elapsed / 60)) min $((elapsed % 60)) s for $total changes (logs in $logs)"
echo "killed $killed of $total"
[ "$killed" = "$total" ]
