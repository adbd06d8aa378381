/* Line editing and history through libedit. */
#include "interactive.h"

#include <histedit.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "text.h"

static char kPrompt[] = "ordo> ";
static const int kHistorySize = 1000;

static char* prompt(EditLine* editor) {
    (void)editor;
    return kPrompt;
}

/* ~/.ordo_calc_history, or null without a home; to be released with free(). */
static char* history_path(void) {
    const char* home = getenv("HOME");
    if (home == NULL || *home == 0) {
        return NULL;
    }
    static const char kName[] = "/.ordo_calc_history";
    char* path = malloc(strlen(home) + sizeof kName);
    if (path != NULL) {
        strcpy(path, home);
        strcat(path, kName);
    }
    return path;
}

int run_interactive(FormulaHandler calculate, void* context) {
    setlocale(LC_CTYPE, ""); /* lets libedit edit UTF-8 text */
    HistEvent event;
    History* history_list = history_init();
    history(history_list, &event, H_SETSIZE, kHistorySize);
    history(history_list, &event, H_SETUNIQUE, 1);
    char* path = history_path();
    if (path != NULL) {
        history(history_list, &event, H_LOAD, path); /* none yet on the first run */
    }
    /* The prompt and the line being edited go to stderr, like the errors:
     * stdout keeps nothing but results, also when it is redirected. */
    EditLine* editor = el_init("ordo-calc", stdin, stderr, stderr);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1); /* restores the terminal when a signal ends the process */
    el_set(editor, EL_PROMPT, prompt);
    el_set(editor, EL_HIST, history, history_list);

    int failures = 0;
    const char* line;
    int length;
    while ((line = el_gets(editor, &length)) != NULL) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) {
            --length;
        }
        if (length > 0) {
            char* formula = strndup(line, (size_t)length);
            history(history_list, &event, H_ENTER, formula);
            failures += calculate(context, formula);
            free(formula);
        }
    }
    fputc('\n', stderr); /* leaves the shell's prompt on a line of its own */
    if (path != NULL) {
        history(history_list, &event, H_SAVE, path);
    }
    free(path);
    el_end(editor);
    history_end(history_list);
    return failures;
}

/* The line and column of "line L:C" in error, or 0 when there is none. */
static int error_position(const char16_t* error, int* line, int* column) {
    size_t length = utf16_length(error);
    char* narrow = malloc(length + 1);
    if (narrow == NULL) {
        return 0;
    }
    for (size_t i = 0; i <= length; ++i) {
        narrow[i] = error[i] < 0x80 ? (char)error[i] : '?';
    }
    const char* place = strstr(narrow, "line ");
    int found = place != NULL && sscanf(place, "line %d:%d", line, column) == 2;
    free(narrow);
    return found;
}

void mark_error_position(const char* formula, const char16_t* error) {
    int line, column;
    if (error == NULL || !error_position(error, &line, &column) || line != 1 || column < 1) {
        return;
    }
    fprintf(stderr, "%*s", (int)strlen(kPrompt), "");
    /* A column counts characters; a tab stays a tab so the caret lines up. */
    const unsigned char* text = (const unsigned char*)formula;
    for (int i = 1; i < column && *text != 0; ++i) {
        fputc(next_code_point(&text) == '\t' ? '\t' : ' ', stderr);
    }
    fputs("^\n", stderr);
}
