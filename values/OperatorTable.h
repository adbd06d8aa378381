// The binary and unary operator tables, indexed by the parser's codes.
#pragma once

#include <cstdint>

namespace CalcEngine {

enum BinaryOperator : int32_t {
    OpOr,
    OpXor,
    OpAnd,
    OpNotEqual,
    OpEqual,
    OpLt,
    OpGt,
    OpLe,
    OpGe,
    OpPlus,
    OpMinus,
    OpDiv,
    OpMul,
    OpMod,
    OpIntDiv,
    OpPow,
    BinaryOperatorCount
};

enum UnaryOperator : int32_t { UnNot, UnMinus, UnPlus, UnaryOperatorCount };

struct OperatorInfo {
    const char16_t* symbol;
    const char16_t* name;
    int32_t precedence;
    bool isLogical;
};

extern const OperatorInfo binaryOperators[BinaryOperatorCount];
extern const OperatorInfo unaryOperators[UnaryOperatorCount];

}  // namespace CalcEngine
