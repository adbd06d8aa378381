#include "language/MismatchedUnicodeCharException.h"

#include <antlr/String.hpp>

#include "language/UnicodeCharScanner.h"

namespace CalcEngine {

MismatchedUnicodeCharException::MismatchedUnicodeCharException(Kind kind, int found, int expecting,
                                                               int upper, const antlr::BitSet& set,
                                                               const UnicodeCharScanner& scanner)
    : antlr::RecognitionException("Mismatched char", std::string(), scanner.getLine(),
                                  scanner.getColumn()),
      kind(kind),
      foundChar(found),
      expecting(expecting),
      upper(upper),
      set(set) {}

MismatchedUnicodeCharException::MismatchedUnicodeCharException(int found, int expecting,
                                                               bool matchNot,
                                                               const UnicodeCharScanner& scanner)
    : MismatchedUnicodeCharException(matchNot ? NOT_CHAR : CHAR, found, expecting, 0,
                                     antlr::BitSet(), scanner) {}

MismatchedUnicodeCharException::MismatchedUnicodeCharException(int found, int lower, int upper,
                                                               bool matchNot,
                                                               const UnicodeCharScanner& scanner)
    : MismatchedUnicodeCharException(matchNot ? NOT_RANGE : RANGE, found, lower, upper,
                                     antlr::BitSet(), scanner) {}

MismatchedUnicodeCharException::MismatchedUnicodeCharException(int found, const antlr::BitSet& set,
                                                               bool matchNot,
                                                               const UnicodeCharScanner& scanner)
    : MismatchedUnicodeCharException(matchNot ? NOT_SET : SET, found, 0, 0, set, scanner) {}

// The texts, doubled quotes included, are those of the runtime's
// MismatchedCharException: antlr::charName quotes a printable character itself.
std::string MismatchedUnicodeCharException::getMessage() const {
    using antlr::charName;
    const std::string found = "found '" + charName(foundChar) + "'";
    const std::string range = charName(expecting) + "'..'" + charName(upper) + "', ";
    switch (kind) {
        case CHAR:
            return "expecting '" + charName(expecting) + "', " + found;
        case NOT_CHAR:
            return "expecting anything but '" + charName(expecting) + "'; got it anyway";
        case RANGE:
            return "expecting token in range: '" + range + found;
        case NOT_RANGE:
            return "expecting token NOT in range: " + range + found;
        case SET:
        case NOT_SET: {
            std::string message = kind == SET ? "expecting one of (" : "expecting NOT one of (";
            for (const unsigned member : set.toArray()) message += " '" + charName(member) + "'";
            return message + "), " + found;
        }
    }
    return antlr::RecognitionException::getMessage();
}

}  // namespace CalcEngine
