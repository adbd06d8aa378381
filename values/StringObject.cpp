#include "values/StringObject.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "values/HostMemory.h"
#include "values/ICalcContext.h"
#include "values/NumberText.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/ShiftItems.h"

namespace CalcEngine {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

// Reads the quoted item that opens at `pos`, quotes kept, a backslash before
// a quote or a backslash standing for that character. Leaves `pos` behind
// the closing quote; false when there is none.
bool ReadQuotedItem(const WString& text, size_t& pos, WString& item) {
    item = u'"';
    for (++pos; pos < text.size(); ++pos) {
        const char16_t c = text[pos];
        if (c == u'"') {
            item += c;
            ++pos;
            return true;
        }
        const bool escape = c == u'\\' && pos + 1 < text.size() &&
                            (text[pos + 1] == u'"' || text[pos + 1] == u'\\');
        if (escape) ++pos;
        item += text[pos];
    }
    return false;
}

// Splits the text into items at `separator`. Blanks before an item are
// skipped; a quoted item may hold the separator, and anything between its
// closing quote and the next separator is dropped. An unterminated quote
// ends the list.
void SplitItems(const WString& text, char16_t separator, StringVector& out) {
    size_t pos = 0;
    for (;;) {
        while (pos < text.size() && IsBlank(text[pos])) ++pos;
        if (pos >= text.size()) return;
        WString item;
        if (text[pos] == u'"') {
            if (!ReadQuotedItem(text, pos, item)) return;
            pos = text.find(separator, pos);
        } else {
            const size_t end = text.find(separator, pos);
            item.assign(text, pos, end == WString::npos ? WString::npos : end - pos);
            pos = end;
        }
        out.push_back(std::move(item));
        if (pos == WString::npos) return;
        ++pos;
    }
}

// The text of `right`: a string's own, else its text form in `scratch`.
const WString& TextOf(const Object& right, WString& scratch) {
    if (right.GetType().IsA(StringObject::Type::Instance())) {
        return static_cast<const StringObject&>(right).text;
    }
    right.GetText(scratch);
    return scratch;
}

}  // namespace

const StringObject::Type& StringObject::Type::Instance() {
    static const Type instance;
    return instance;
}

const char16_t* StringObject::Type::Name() const { return u"String"; }

uint32_t StringObject::Type::Rank() const { return 102; }

Object* StringObject::Type::Create(Environment* environment) const {
    return CurrentFactory()->CreateString(environment);
}

void StringObject::Dump(WString& out, int options) const {
    (void)options;
    out += u"(";
    out += GetType().Name();
    out += u") ";
    out += text;
}

void StringObject::GetInt(int32_t& out) const {
    double value;
    GetNumber(value);
    out = NumberToInt32(value);
}

void StringObject::GetNumber(double& out) const { out = ReadNumber(text); }

void StringObject::AppendToNumbers(DoubleVector& out, bool skipNulls) const {
    const size_t start = text.find_first_not_of(u" \t\r\n");
    if (start == WString::npos || text[start] != u'"') {
        ReadNumbers(text, out, skipNulls);
        return;
    }
    StringVector items;
    AppendToStrings(items);
    for (const WString& item : items) ReadNumbers(item, out, skipNulls);
}

void StringObject::AppendToStrings(StringVector& out) const {
    out.clear();
    out.reserve(8);
    SplitItems(text, ItemSeparator(), out);
}

void StringObject::ToResult(DTCalcResult& out) const {
    out.iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    if (text.empty()) {
        out.iResultBufferLength = 0;
        out.xResultBuffer = nullptr;
        return;
    }
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    out.xResultBuffer = static_cast<char16_t*>(AllocateHostMemory(bytes));
    std::memcpy(out.xResultBuffer, text.c_str(), bytes);
    out.iResultBufferLength = static_cast<int32_t>(bytes);
}

void StringObject::SetNumber(double value) {
    text.clear();
    FormatNumber(value, text);
}

void StringObject::SetFromNumbers(const DoubleVector& numbers) {
    text.clear();
    for (size_t i = 0; i < numbers.values.size(); ++i) {
        if (i) text += u' ';
        FormatNumber(numbers.values[i], text);
    }
}

void StringObject::SetFromStrings(const StringVector& strings) {
    text.clear();
    const char16_t separator = ItemSeparator();
    for (size_t i = 0; i < strings.size(); ++i) {
        if (i) text += separator;
        text += strings[i];
    }
}

void StringObject::Shift(int n) {
    StringVector items;
    AppendToStrings(items);
    ShiftItems(items, n, WString());
    SetFromStrings(items);
}

Object* StringObject::Reverse() {
    StringVector items;
    AppendToStrings(items);
    std::reverse(items.begin(), items.end());
    SetFromStrings(items);
    return this;
}

Object* StringObject::GetItem(unsigned index, bool across) const {
    (void)across;
    StringVector items;
    AppendToStrings(items);
    if (index >= items.size()) return nullptr;
    return CurrentFactory()->CreateString(environment, items[index]);
}

void StringObject::Assign(const Object& src, bool whole) {
    (void)whole;
    src.GetText(text);
}

unsigned StringObject::Size() const {
    StringVector items;
    AppendToStrings(items);
    return static_cast<unsigned>(items.size());
}

void StringObject::UnaryMinus() { RewriteNumbers(&Object::UnaryMinus); }

void StringObject::OperatorLnot() { RewriteNumbers(&Object::OperatorLnot); }

void StringObject::OperatorPlus(const Object& right) {
    WString scratch;
    const WString& tail = TextOf(right, scratch);
    CheckTextLength(text.size() + tail.size());
    text += tail;
}

void StringObject::OperatorMinus(const Object&) { WarnUnsupported(OpMinus); }
void StringObject::OperatorDiv(const Object&) { WarnUnsupported(OpDiv); }
void StringObject::OperatorMod(const Object&) { WarnUnsupported(OpMod); }
void StringObject::OperatorIntDiv(const Object&) { WarnUnsupported(OpIntDiv); }
void StringObject::OperatorMul(const Object&) { WarnUnsupported(OpMul); }
void StringObject::OperatorPow(const Object&) { WarnUnsupported(OpPow); }

Object* StringObject::OperatorLand(const LazyOperand& right) {
    return ApplyLogical(&Object::OperatorLand, right);
}
Object* StringObject::OperatorLor(const LazyOperand& right) {
    return ApplyLogical(&Object::OperatorLor, right);
}
Object* StringObject::OperatorLxor(const LazyOperand& right) {
    return ApplyLogical(&Object::OperatorLxor, right);
}

template <class Test>
void StringObject::CompareWith(const Object& right, Test test) {
    WString scratch;
    const int order = text.compare(TextOf(right, scratch));
    text = test(order, 0) ? u"1" : u"0";
}

void StringObject::OperatorEqual(const Object& right) { CompareWith(right, std::equal_to<int>()); }
void StringObject::OperatorNotEqual(const Object& right) {
    CompareWith(right, std::not_equal_to<int>());
}
void StringObject::OperatorLt(const Object& right) { CompareWith(right, std::less<int>()); }
void StringObject::OperatorGt(const Object& right) { CompareWith(right, std::greater<int>()); }
void StringObject::OperatorLe(const Object& right) { CompareWith(right, std::less_equal<int>()); }
void StringObject::OperatorGe(const Object& right) {
    CompareWith(right, std::greater_equal<int>());
}

Object* StringObject::Filter(const BitVector& mask) {
    StringVector items, kept;
    AppendToStrings(items);
    for (size_t i = 0; i < items.size() && i < mask.size(); ++i) {
        if (mask[i]) kept.push_back(std::move(items[i]));
    }
    SetFromStrings(kept);
    AddRef(this);
    return this;
}

void StringObject::Scatter(const Object& source, const BitVector& mask) {
    StringVector items, replacements;
    AppendToStrings(items);
    source.AppendToStrings(replacements);
    size_t k = 0;
    for (size_t i = 0; i < items.size() && i < mask.size() && k < replacements.size(); ++i) {
        if (mask[i]) items[i] = std::move(replacements[k++]);
    }
    SetFromStrings(items);
}

Object* StringObject::Sum() const {
    DoubleVector numbers;
    AppendToNumbers(numbers, false);
    return CurrentFactory()->CreateFloat(environment, numbers.Sum());
}

Object* StringObject::Clone() const { return CurrentFactory()->CreateString(environment, text); }

void StringObject::Recycle() {
    if (text.capacity() > ObjectFactory::PooledCapacity) WString().swap(text);
    CurrentFactory()->RecycleString(this);
}

void StringObject::SetItem(unsigned index, const Object& item) {
    int32_t code;
    item.GetInt(code);
    if (index >= text.size()) text.resize(size_t{index} + 1, u' ');
    text[index] = static_cast<char16_t>(code);
}

Object* StringObject::GetItemAt(const Object& index) const {
    int32_t i;
    index.GetInt(i);
    const bool inside = i >= 0 && static_cast<size_t>(i) < text.size();
    return CurrentFactory()->CreateChar(environment, inside ? text[static_cast<size_t>(i)] : 0);
}

NumberVectorObject* StringObject::ReadNumberList() const {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(environment));
    AppendToNumbers(static_cast<NumberVectorObject&>(*list), false);
    return static_cast<NumberVectorObject*>(list.Detach());
}

Object* StringObject::ReadNumberObject() const {
    PtrWrapper numbers(ReadNumberList());
    const auto& list = static_cast<const NumberVectorObject&>(*numbers);
    if (list.Size() >= 2) return numbers.Detach();
    ObjectFactory& factory = *CurrentFactory();
    return list.Size() == 1 ? factory.CreateFloat(environment, list.values[0])
                            : factory.CreateEmpty(environment);
}

Object* StringObject::ApplyLogical(Object* (Object::*op)(const LazyOperand&),
                                   const LazyOperand& right) {
    PtrWrapper number(ReadNumberObject());
    if (Object* replacement = ((*number).*op)(right)) return replacement;
    return number.Detach();
}

void StringObject::RewriteNumbers(void (Object::*op)()) {
    PtrWrapper numbers(ReadNumberList());
    ((*numbers).*op)();
    SetFromNumbers(static_cast<const NumberVectorObject&>(*numbers));
}

void StringObject::WarnUnsupported(BinaryOperator op) const {
    ReportWarning(environment, WString(u"operator '") + binaryOperators[op].symbol +
                                   u"' is not supported for string objects");
}

}  // namespace CalcEngine
