// The handles the host holds for clients and formulas. A handle is the
// address of a small record with a generation count in its high 16 bits; the
// record names the object, its kind and, for a formula, its owner client.
// Records are never given back to the allocator, only reused with the next
// generation, so a stale, foreign or mistyped handle is read safely and
// answers null instead of reaching a freed object.
//
// Lookups take no lock and cost a load and a compare or two; issuing and
// retiring take the prepare lock.
#pragma once

class CalcClient;
class RecyclableCalcFormula;

// A new handle for `client`, or for `formula` owned by `owner`. Throws
// std::bad_alloc when no record can be had.
void* NewClientHandle(CalcClient& client);
void* NewFormulaHandle(RecyclableCalcFormula& formula, const CalcClient& owner);

// The client behind a live client handle, else null.
CalcClient* ClientOfHandle(void* handle);
// The formula behind a live formula handle that `owner` prepared, else null.
RecyclableCalcFormula* FormulaOfHandle(void* handle, const CalcClient* owner);

// Ends a live handle: every later lookup of it answers null.
void RetireHandle(void* handle);
// Ends the handles of every formula that `owner` still has prepared and
// deletes those formulas. Walks every record: its cost follows the most
// handles ever live at once.
void DeleteFormulasOf(const CalcClient& owner);
