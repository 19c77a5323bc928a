// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/readalinef.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <readline/history.h>
#include <readline/readline.h>

#include "base/channel.h"
#include "terminal/key.h"
#include "terminal/settings.h"

namespace {

char* nothing(const char*, int) { return nullptr; }
int nothingdone(int, int) { return 0; }

// Bytes from a file or a pipe, as everything else that reads them gets them.
int nextbyte(std::FILE*) { return inputbyte(); }

// The editor's own way to its settings and back, with what makes it safe against signals and in the
// background.
void prepareterminal(int meta)
{
    if (guardsettings()) rl_prep_terminal(meta);
}

void restoreterminal()
{
    noteahead();
    rl_deprep_terminal();
    settingsback();
}

// After a signal. After a stop the line goes below what is shown again, and the settings may be the
// shell's: not every stop can be caught.
int aftersignal()
{
    if (!shownagain()) return 0;
    restoreterminal();
    prepareterminal(1);
    rl_forced_update_display();
    return 0;
}

// Takes commands away before the keys of an inputrc are read. In vi mode the editor does not come
// back from some moves over bytes that are no letters (found by fuzzing), whichever key gives them.
// Tried as ways into it, by their own keys and by those of an inputrc: vi-editing-mode (M-C-j,
// M-C-m), every other "vi-" command, re-read-init-file (C-x C-r) with "set editing-mode vi", macros
// of them, and execute-named-command (M-x), which newer editors have. C-e in vi
// mode only leads back.
void refusecommands()
{
    rl_initialize_funmap();
    for (FUNMAP** entry = funmap; *entry != nullptr; ++entry) {
        const std::string_view name = (*entry)->name;
        if (name.starts_with("vi-") || name == "re-read-init-file" ||
            name == "execute-named-command") {
            (*entry)->function = nothingdone;
        }
    }
    for (const char* keys : {"\\e\\C-j", "\\e\\C-m", "\\C-x\\C-r", "\\ex"}) {
        rl_bind_keyseq(keys, nothingdone);
    }
}

// The line editor's settings, after those of the user: a paste of several answers must not be taken
// as one, in no locale are letters beyond ASCII commands, and a TAB in a formula must not list
// files. The keys are those of emacs.
void prepareediting()
{
    if (!isatty(STDIN_FILENO)) rl_getc_function = nextbyte;
    static bool prepared = false;
    if (prepared) return;
    prepared = true;
    rl_prep_term_function = prepareterminal;
    rl_deprep_term_function = restoreterminal;
    rl_signal_event_hook = aftersignal;
    refusecommands();
    rl_initialize();
    rl_variable_bind("enable-bracketed-paste", "off");
    rl_variable_bind("input-meta", "on");
    rl_variable_bind("convert-meta", "off");
    rl_variable_bind("output-meta", "on");
    rl_variable_bind("editing-mode", "emacs");
    rl_completion_entry_function = nothing;
}

}  // namespace

int readaline(dim<std::int32_t, 1, 132>& k, const char* prompt)
{
    flushoutput();
    prepareediting();
    int rows = 0, columns = 0;
    sizenow(rows, columns);
    rl_set_screen_size(rows, columns);  // not COLUMNS, which may say anything
    shownagain();                       // that of earlier stops
    char* const line = readline(prompt);
    settingsback();  // once more, as the editor has let go of the signals only now
    setinputended(line == nullptr);
    if (line == nullptr) return 0;
    int count = 0;
    for (; count < 132 && line[count] != '\0'; ++count) {
        k(count + 1) = static_cast<signed char>(line[count]);
    }
    std::free(line);
    return count;
}

void addhist(const char* s) { add_history(s); }

void viewdvi(const char* dvifile)
{
    char command[131];
    if (std::snprintf(command, sizeof command, "xdvi %s", dvifile) >= int{sizeof command}) {
        writerecord(noutput, {" the command for the document viewer is too long"});
        return;
    }
    writerecord(noutput, {" ", command});
    flushoutput();
    // A missing viewer leaves the shell's own line on the screen; there is nothing else to do. No
    // child to wait for is no fault: the parent of the program has SIGCHLD ignored.
    if (std::system(command) < 0 && errno != ECHILD) {
        writerecord(noutput, {" no shell for the document viewer"});
    }
}
