/* The interactive mode of ordo-calc: formulas typed at a terminal, with line
 * editing and a history kept across sessions in ~/.ordo_calc_history. */
#ifndef ORDO_TOOLS_INTERACTIVE_H
#define ORDO_TOOLS_INTERACTIVE_H

#include <uchar.h>

/* Calculates one formula and prints its outcome; answers 0 on success. */
typedef int (*FormulaHandler)(void* context, const char* formula);

/* Reads formulas from the terminal until end of input (Ctrl-D) and hands
 * each non-empty one to calculate; answers the number of failures. */
int run_interactive(FormulaHandler calculate, void* context);

/* On standard error, marks with a caret the column of formula, as typed
 * after the prompt, that a parse error names ("line 1:7: ..."). Does
 * nothing when the error names no place on the formula's first line. */
void mark_error_position(const char* formula, const char16_t* error);

#endif
