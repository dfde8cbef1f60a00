// How the administrator's script keeps items safe.
//
// All items go through one script, so that the user is asked for a password once. It runs as root,
// perhaps minutes after it was written, in a Trash that the user's other programs change meanwhile.
// So it trusts nothing that was found out before: it compares each item's inode number and the
// change times of everything in it with the time of a reference file, right before the move.
//
// Its main danger is to overwrite something in the Trash, for `mv` replaces whatever has the name.
// The script therefore first takes the name with an empty placeholder of the item's kind, which
// fails if the name is taken, and then moves the item over its own placeholder. A placeholder is
// recognised by a second link to it in the journal (a file) or by its listing (a folder that nobody
// may enter), so that no other file is ever taken for one. Placeholders of items that did not come
// are removed again.
//
// With notes (the Linux Trash) each item also gets a note about where it came from, before it
// moves. The journal is a folder that lists what the script has put into the Trash without an item
// yet. It is cleared at the end, or by a later run if the script was killed. A script that is alive
// holds a lock on its journal; in a Trash without notes the name of the journal has its process
// number instead.
//
// The script runs in /bin/sh, which is a different shell on different systems, so it uses only what
// all of them know.
#include "actions/administrator_cleanup.h"

#include <string>
#include <utility>

#include "engine/removal_guard.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

constexpr char scriptName[] = "/tm_sys_cleanup.sh";
constexpr char notRemoved[] = "System items were not removed (admin prompt cancelled or failed).";
constexpr char notWritten[] =
    "System items were not removed: the clean-up script could not be written to the temporary "
    "folder.";
constexpr char notPrivate[] =
    "System items were not removed: the temporary folder for the clean-up script is not yours "
    "alone.";

constexpr char start[] = R"sh(exec >/dev/null 2>&1
umask 077
name=
exists() { [ -e "$1" ] || [ -L "$1" ]; }
is_folder() { [ -d "$1" ] && [ ! -L "$1" ]; }
is_folder "$trash" || exit 1
)sh";

// The content of the journal is described where the Trash makes it (`CleanupNotes`). The script
// takes nothing out of it: the program that clears the journal at the end can examine more than a
// shell can.
constexpr char withNotes[] = R"sh([ "$(cd -P "$trash" && pwd -P)" = "$trash" ] || exit 1
is_folder "$notes" && exec 9<"$journal" && flock -n -s 9 || exit 1
reference=$journal/notes/1
note() { # name, number
    rm -f "$journal/info/$1$ending"
    ln "$journal/notes/$2" "$journal/info/$1$ending"
    ln "$journal/info/$1$ending" "$notes"/
    has_note "$1"
}
has_note() { [ "$journal/info/$1$ending" -ef "$notes/$1$ending" ]; } # name
drop_note() { ! has_note "$1" || rm -f "$notes/$1$ending"; } # name
forget() { return 0; }
move_as() { mv -fT "$1" "$trash/$2"; } # item, name
finish() { exit 0; }
)sh";

// Some systems have no `mv -T`, and would move a folder into its placeholder. There a folder gets
// its new name inside a folder that only root may enter, and is moved from there. That folder is
// visible in the Trash, so an item that a killed script leaves in it is not lost.
//
// The script makes its journal itself and clears those of killed scripts, because the program may
// not read folders of root. It enters a journal before it examines it, since the user could
// otherwise put another folder in its place in between.
constexpr char withoutNotes[] = R"sh(clear_journal() { # in the current folder
    for taken in files/* files/.*; do
        name=${taken##*/}
        [ -f "$taken" ] || continue
        if is_folder "$trash/$name"; then
            case $(ls -ld "$trash/$name") in d---------*) rmdir "$trash/$name" ;; esac
        else
            [ ! "$taken" -ef "$trash/$name" ] || rm -f "$trash/$name"
        fi
        rm -f "$taken"
    done
    rm -f reference
    rmdir files
}
for old in "$trash"/.vestigo-*-*; do
    owner=${old##*/.vestigo-}
    owner=${owner%%-*}
    case $owner in '' | *[!0-9]*) continue ;; esac
    ! is_folder "$old" || kill -0 "$owner" || (
        cd -P "$old" && [ -O . ] && is_folder files || exit
        case $(ls -ld .) in drwx------*) clear_journal ;; esac
    )
    kill -0 "$owner" || rmdir "$old"
done
journal=$(mktemp -d "$trash/.vestigo-$$-XXXXXXXX") && reference=$journal/reference &&
    mkdir "$journal/files" && touch -r "$0" "$reference" || exit 1
note() { return 0; }
drop_note() { return 0; }
forget() { rm -f "$journal/files/$1"; } # name
move_as() { # item, name
    if is_folder "$1"; then
        mkdir "$trash/Vestigo $$" || return
        mv -f "$1" "$trash/Vestigo $$/$2" && mv -f "$trash/Vestigo $$/$2" "$trash"/
        rmdir "$trash/Vestigo $$"
    else
        mv -f "$1" "$trash/$2"
    fi
}
finish() {
    rm -f "$reference"
    rmdir "$journal/files" "$journal"
    exit 0
}
)sh";

// The script decides by the state of the disk and not by the exit status of a command: a command
// that was killed may still have done its work.
constexpr char common[] = R"sh(failures=0
is_inode() { # number, item
    set -- "$1" $(ls -di "$2")
    [ "$1" = "$2" ]
}
is_unchanged() { # item; everything in it is as it was when the script was written
    changed=$(find "$1" -cnewer "$reference") && [ -z "$changed" ]
}
take() { # item, name, number; status 1: the name is taken, 2: the item cannot be moved
    name=
    exists "$1" || return 2
    is_inode "$inode" "$1" && is_unchanged "$1" || return 2
    exists "$trash/$2" && return 1
    if note "$2" "$3" && true >"$journal/files/$2" && place "$1" "$2"; then
        name=$2
        return 0
    fi
    drop_note "$2"
    forget "$2"
    # Another program may take the name and give it up again, so one failure means nothing.
    failures=$((failures + 1))
    [ "$failures" -lt 50 ] && return 1
    return 2
}
place() { # item, name
    if is_folder "$1"; then
        mkdir -m 0 "$trash/$2" && placeholder=$(ls -ldi "$trash/$2") && return
        case $(ls -ld "$trash/$2") in d---------*) rmdir "$trash/$2" ;; esac
        return 1
    fi
    ln "$journal/files/$2" "$trash"/
    [ "$journal/files/$2" -ef "$trash/$2" ]
}
move_renamed() { # item, stem, ending, number
    attempt=2
    while [ "$attempt" -lt 100000 ]; do
        take "$1" "$2.$attempt$3" "$4"
        case $? in
            0) move_as "$1" "$name"; return ;;
            2) return ;;
        esac
        attempt=$((attempt + 1))
    done
}
settle() { # if the item has not arrived, removes its placeholder and then its note
    [ -z "$name" ] || ! give_back "$trash/$name" || drop_note "$name"
    [ -z "$name" ] || forget "$name"
    failures=0
}
give_back() { # placeholder
    if is_folder "$1"; then
        [ "$(ls -ldi "$1")" = "$placeholder" ] && rmdir "$1"
    else
        [ "$1" -ef "$journal/files/$name" ] && rm -f "$1"
    fi
}
)sh";

std::string assigned(std::string_view name, const std::string& value) {
    return std::string(name) + "=" + shellQuoted(value) + "\n";
}

std::string header(const CleanupPlan& plan) {
    auto text = assigned("trash", plan.folder);
    if (plan.notes) {
        text += assigned("notes", plan.notes->folder) + assigned("ending", plan.notes->ending) +
                assigned("journal", plan.notes->journal);
    }
    return text + start + (plan.notes ? withNotes : withoutNotes) + common;
}

/// The commands that move the item with this number, counted from 1.
std::string moveOf(const CleanupPlan& plan, std::size_t number) {
    const auto& [path, identity] = plan.items[number - 1];
    const auto inode = "inode=" + std::to_string(identity.number) + "\n";
    const auto item = shellQuoted(path);
    const auto own = std::string(nameOf(path));
    const auto [stem, ending] = trashNameParts(own, plan.longestName);
    const auto note = std::to_string(number);
    const auto renamed = "move_renamed " + item + " " + shellQuoted(stem) + " " +
                         shellQuoted(ending) + " " + note + "\n";
    return inode + "if take " + item + " " + shellQuoted(own) + " " + note + "; then\n" + "mv -f " +
           item + " " + shellQuoted(plan.folder) + "/ 2>/dev/null || true\nelse\n" + renamed +
           "fi\nsettle\n";
}

}  // namespace

std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char letter : text) {
        if (letter == '\'') {
            quoted += R"('\'')";
        } else {
            quoted += letter;
        }
    }
    return quoted += '\'';
}

std::string cleanupScript(const CleanupPlan& plan) {
    auto script = "#!/bin/sh\n" + header(plan);
    for (std::size_t number = 1; number <= plan.items.size(); ++number) {
        script += moveOf(plan, number);
    }
    return script += "finish\n";
}

std::array<std::string, 2> osascriptArguments(std::string_view scriptPath) {
    std::string statement = R"(do shell script "/bin/sh \")";
    statement.append(scriptPath).append(R"(\"" with administrator privileges)");
    return {"-e", statement};
}

AdministratorCleanup::AdministratorCleanup(AdministratorCleanupServices services)
    : services_(std::move(services)) {
    if (!services_.files->isPrivateFolder(services_.temporary)) return;
    CancelFlag atOnce;
    atOnce.cancel();
    // If another window or program holds the lock, it is using the script.
    const auto lock = services_.files->lockFolder(services_.temporary, atOnce);
    if (lock) services_.files->remove(services_.temporary + scriptName);
}

std::optional<std::string> AdministratorCleanup::runAdminCleanup(
    const std::vector<CleanupItem>& items) {
    std::optional<std::string> refusal;
    std::vector<CleanupItem> allowed;
    for (const auto& item : items) {
        auto why = protectionOf(item.path, *services_.files);
        if (!why) allowed.push_back(item);
        if (why && !refusal) refusal = std::move(why);
    }
    if (allowed.empty()) return refusal;
    auto error = run(allowed);
    return error ? error : refusal;
}

// The wait for the lock may be long, because another run's question for the password may be open.
std::optional<std::string> AdministratorCleanup::run(const std::vector<CleanupItem>& items) {
    const auto lock = services_.files->lockFolder(services_.temporary, withdrawn_);
    if (withdrawn_.cancelled()) return notRemoved;
    if (!lock || !services_.files->isPrivateFolder(services_.temporary)) return notPrivate;
    const auto plan = services_.trash->plan(items);
    if (plan.error) return plan.error;
    if (!plan.items.empty()) {
        if (auto error = runScript(cleanupScript(plan))) return error;
    }
    if (plan.onOtherDisks.empty()) return std::nullopt;
    return leftInPlace(plan.onOtherDisks.front(), "is on another disk than the Trash");
}

std::optional<std::string> AdministratorCleanup::runScript(const std::string& text) {
    const auto script = services_.temporary + scriptName;
    if (!services_.files->replace(script, text, Access::ownerOnly)) return notWritten;
    const auto run = services_.administrator->runScript(script, withdrawn_);
    // A shell that still runs the script has it open and can go on.
    services_.files->remove(script);
    if (run.launchError) return run.launchError;
    return run.status == 0 ? std::nullopt : std::optional<std::string>(notRemoved);
}

}  // namespace vestigo
