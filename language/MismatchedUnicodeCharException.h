// The scanner's error when the next code point is not the one a rule needs.
#pragma once

#include <antlr/BitSet.hpp>
#include <antlr/RecognitionException.hpp>
#include <string>

namespace CalcEngine {

class UnicodeCharScanner;

class MismatchedUnicodeCharException : public antlr::RecognitionException {
public:
    enum Kind { CHAR = 1, NOT_CHAR, RANGE, NOT_RANGE, SET, NOT_SET };

    // Expected `expecting`, or anything but it.
    MismatchedUnicodeCharException(int found, int expecting, bool matchNot,
                                   const UnicodeCharScanner& scanner);
    // Expected a code point in lower..upper, or outside it.
    MismatchedUnicodeCharException(int found, int lower, int upper, bool matchNot,
                                   const UnicodeCharScanner& scanner);
    // Expected a member of `set`, or a non-member.
    MismatchedUnicodeCharException(int found, const antlr::BitSet& set, bool matchNot,
                                   const UnicodeCharScanner& scanner);

    std::string getMessage() const override;

    Kind kind;
    int foundChar;
    int expecting;  // the one character, or the lower bound of the range
    int upper;
    antlr::BitSet set;

private:
    MismatchedUnicodeCharException(Kind kind, int found, int expecting, int upper,
                                   const antlr::BitSet& set, const UnicodeCharScanner& scanner);
};

}  // namespace CalcEngine
