// A reference to one of the host's symbols: what a name in a formula is
// bound to. It holds no value; each evaluation asks the host for one. As a
// value it can do nothing: its operations warn and change nothing.
#pragma once

#include <cstdint>

#include "tree/Arguments.h"
#include "tree/References.h"

namespace CalcEngine {

class CalcRuntimeObjectReference : public ICalcObjectReference {
public:
    class Type : public CalcEngine::Type {
    public:
        static const Type& Instance();
        const char16_t* Name() const override { return u"CalcRuntimeObjectReference"; }
        uint32_t Rank() const override { return 255; }

    private:
        Type() : CalcEngine::Type(&CalcEngine::Type::Root(), true) {}
    };

    CalcRuntimeObjectReference(Environment* environment, const WString& symbol);

    // Fetches the value from the host, with the arguments evaluated first.
    // Not allowed inside the Evaluate builtin.
    Object* GetValue(Environment& environment, const ExpressionList* arguments) const override;
    bool IsConstValue() const override { return constValue; }
    // Evaluates constant arguments, tells the host (when it listens) and
    // takes its answer whether the value is constant.
    void ReportCreated(Environment& environment, const ExpressionList* constArguments,
                       int32_t position, bool emptyParamList) override;

    void Dump(WString& out, int options) const override;
    void GetInt(int32_t& out) const override { out = 0; }
    void GetNumber(double& out) const override { out = 0; }
    void GetText(WString& out) const override { out.clear(); }
    void SetNumber(double) override { Warn(u"setting double value for"); }
    void SetText(const WString&) override { Warn(u"setting string value for"); }
    void SetFromNumbers(const DoubleVector&) override { Warn(u"setting numberlist value for"); }
    void SetFromStrings(const StringVector&) override { Warn(u"setting stringlist value for"); }
    void Assign(const Object&, bool) override { Warn(u"setting value for"); }
    void UnaryPlus() override { Warn(u"attempting to execute unary operator '+' for"); }
    void UnaryMinus() override { Warn(u"attempting to execute unary operator '-' for"); }
    void OperatorLnot() override { Warn(u"attempting to execute unary operator 'NOT' for"); }
    void OperatorPlus(const Object&) override { Warn(u"attempting to execute operator '+' for"); }
    void OperatorMinus(const Object&) override { WarnOperator(u"minus"); }
    void OperatorDiv(const Object&) override { WarnOperator(u"div"); }
    void OperatorMul(const Object&) override { WarnOperator(u"star"); }
    void OperatorPow(const Object&) override { WarnOperator(u"pow"); }
    Object* OperatorLand(const LazyOperand&) override { return WarnOperator(u"logical and"); }
    Object* OperatorLor(const LazyOperand&) override { return WarnOperator(u"logical or"); }
    void OperatorEqual(const Object&) override { WarnOperator(u"equal"); }
    void OperatorLt(const Object&) override { WarnOperator(u"less than"); }
    void OperatorGt(const Object&) override { WarnOperator(u"greater than"); }
    void OperatorLe(const Object&) override { WarnOperator(u"less or equal to"); }
    void OperatorGe(const Object&) override { WarnOperator(u"greater or equal to"); }
    Object* Clone() const override;

    const WString& Symbol() const { return symbol; }

private:
    // The host's value with the evaluated `arguments` (null for none).
    Object* AskHost(Environment& environment, const ArgumentList* arguments) const;
    // The host's value with `arguments` evaluated first. Kept apart from
    // the frequent call without arguments, which then needs a smaller frame.
    [[gnu::noinline]] Object* AskHostWith(Environment& environment,
                                          const ExpressionList& arguments) const;
    // "Warning: Error occurred while <action> deleted object "<symbol>"." in
    // the context's messages.
    void Warn(const WString& action) const;
    Object* WarnOperator(const char16_t* name) const;

    WString symbol;
    bool constValue = true;
};

}  // namespace CalcEngine
