#include "values/DivisionFault.h"

namespace CalcEngine {

void RaiseDivisionFault() { throw DivisionFault{}; }

}  // namespace CalcEngine
