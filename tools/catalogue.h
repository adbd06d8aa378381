/*
 * The builtin functions of the library, as its registry lists them. The
 * table is generated at build time by ordo_catalogue, which reads the
 * registry of the engine; ordo-calc itself only talks to libordo.so.
 */
#ifndef ORDO_TOOLS_CATALOGUE_H
#define ORDO_TOOLS_CATALOGUE_H

#include <stddef.h>
#include <stdio.h>

typedef struct CatalogueEntry {
    const char* name;
    const char* alias; /* empty when the function has none */
    const char* category;
    const char* parameters; /* "2", "2-3" or "1+" */
    const char* description;
} CatalogueEntry;

/* By category, then by name. */
extern const CatalogueEntry kCatalogue[];
extern const size_t kCatalogueSize;

/* Prints a table of the functions whose name, alias or category contains
 * pattern in any case (null: all of them); answers how many it printed. */
size_t catalogue_print(const char* pattern, FILE* out);

#endif
