/* The function catalogue as a table for people. */
#define _GNU_SOURCE /* strcasestr */

#include "catalogue.h"

#include <string.h>

enum { kColumns = 4 }; /* aligned columns; the description comes last */

static int matches(const CatalogueEntry* entry, const char* pattern) {
    return pattern == NULL || strcasestr(entry->name, pattern) != NULL ||
           strcasestr(entry->alias, pattern) != NULL ||
           strcasestr(entry->category, pattern) != NULL;
}

static void print_row(const char* const cells[kColumns + 1], const int widths[kColumns],
                      FILE* out) {
    for (int i = 0; i < kColumns; ++i) {
        fprintf(out, "%-*s  ", widths[i], cells[i]);
    }
    fprintf(out, "%s\n", cells[kColumns]);
}

static void cells_of(const CatalogueEntry* entry, const char* cells[kColumns + 1]) {
    cells[0] = entry->name;
    cells[1] = entry->alias;
    cells[2] = entry->category;
    cells[3] = entry->parameters;
    cells[4] = entry->description;
}

size_t catalogue_print(const char* pattern, FILE* out) {
    const char* header[kColumns + 1] = {"NAME", "ALIAS", "CATEGORY", "PARAMETERS", "DESCRIPTION"};
    int widths[kColumns];
    for (int i = 0; i < kColumns; ++i) {
        widths[i] = (int)strlen(header[i]);
    }
    size_t count = 0;
    const char* cells[kColumns + 1];
    for (size_t i = 0; i < kCatalogueSize; ++i) {
        if (matches(&kCatalogue[i], pattern)) {
            ++count;
            cells_of(&kCatalogue[i], cells);
            for (int column = 0; column < kColumns; ++column) {
                int width = (int)strlen(cells[column]);
                widths[column] = width > widths[column] ? width : widths[column];
            }
        }
    }
    if (count == 0) {
        return 0;
    }
    print_row(header, widths, out);
    for (size_t i = 0; i < kCatalogueSize; ++i) {
        if (matches(&kCatalogue[i], pattern)) {
            cells_of(&kCatalogue[i], cells);
            print_row(cells, widths, out);
        }
    }
    return count;
}
