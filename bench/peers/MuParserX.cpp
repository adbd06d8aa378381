// muparserx: dynamically typed values, evaluated from reverse Polish
// notation.
#include <mpParser.h>

#include "Peers.h"

namespace {

class MuParserXCalculator : public Calculator {
public:
    explicit MuParserXCalculator(const std::string& formula) {
        parser.DefineVar("a", mup::Variable(&a));
        parser.DefineVar("b", mup::Variable(&b));
        parser.DefineVar("c", mup::Variable(&c));
        parser.DefineVar("t", mup::Variable(&t));
        parser.SetExpr(formula);
    }
    double Calculate() override { return parser.Eval().GetFloat(); }

private:
    mup::Value a{1.0}, b{2.0}, c{3.0}, t{2.0};
    mup::ParserX parser;
};

std::unique_ptr<Calculator> Create(const std::string& formula) {
    return std::make_unique<MuParserXCalculator>(formula);
}

void PrepareAndFree(const std::string& formula) { MuParserXCalculator(formula).Calculate(); }

}  // namespace

const Peer muparserx{"muparserx", Create, PrepareAndFree};
