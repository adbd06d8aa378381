#include "values/OperatorTable.h"

namespace CalcEngine {

const OperatorInfo binaryOperators[BinaryOperatorCount] = {
    {u"OR", u"logical inclusive or", 0, true},
    {u"XOR", u"logical exclusive or", 1, true},
    {u"AND", u"logical and", 2, true},
    {u"<>", u"not equal", 3, false},
    {u"=", u"equal", 3, false},
    {u"<", u"less than", 4, false},
    {u">", u"greater than", 4, false},
    {u"<=", u"less than or equal to", 4, false},
    {u">=", u"greater than or equal to", 4, false},
    {u"+", u"addition", 5, false},
    {u"-", u"subtraction", 5, false},
    {u"/", u"division", 6, false},
    {u"*", u"multiplication", 6, false},
    {u"MOD", u"modulo", 6, false},
    {u"DIV", u"integer division", 6, false},
    {u"^", u"power", 7, false},
};

const OperatorInfo unaryOperators[UnaryOperatorCount] = {
    {u"NOT", u"logical not", 0, true},
    {u"-", u"-", 0, false},
    {u"+", u"+", 0, false},
};

}  // namespace CalcEngine
