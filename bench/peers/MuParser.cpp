// muparser: compiles a formula to byte code over variables it reads through
// pointers.
#include <muParser.h>

#include "Peers.h"

namespace {

class MuParserCalculator : public Calculator {
public:
    explicit MuParserCalculator(const std::string& formula) {
        parser.DefineVar("a", &a);
        parser.DefineVar("b", &b);
        parser.DefineVar("c", &c);
        parser.DefineVar("t", &t);
        parser.SetExpr(formula);
    }
    double Calculate() override { return parser.Eval(); }

private:
    double a = 1, b = 2, c = 3, t = 2;
    mu::Parser parser;
};

std::unique_ptr<Calculator> Create(const std::string& formula) {
    return std::make_unique<MuParserCalculator>(formula);
}

// A formula is compiled at its first evaluation.
void PrepareAndFree(const std::string& formula) { MuParserCalculator(formula).Calculate(); }

}  // namespace

const Peer muparser{"muparser", Create, PrepareAndFree};
