// The report that the fault guard writes to the host's log when a call ends
// in a fault or a stray exception: the exception's name and code, where the
// fault lies, and the stack that led to it.
#pragma once

#include "context/HostCall.h"
#include "values/Text.h"

namespace CalcEngine {

// The report of a fault that the signal handler recorded. Reads the
// modules' files: not for use inside a signal handler.
WString DescribeFault(const FaultRecord& fault);

// The report of the exception being handled; only inside a catch handler.
WString DescribeCurrentException();

}  // namespace CalcEngine
