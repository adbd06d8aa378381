// The shift shared by number lists and texts read as item lists.
#pragma once

#include <algorithm>
#include <vector>

namespace CalcEngine {

// Moves the items n places toward the start (n > 0) or the end (n < 0) and
// fills the places left behind with `fill`; a shift by the size or more, in
// either direction, fills everything.
template <class T>
void ShiftItems(std::vector<T>& items, int n, const T& fill) {
    const long long size = static_cast<long long>(items.size());
    if (n == 0) return;
    if (n >= size || n <= -size) {
        std::fill(items.begin(), items.end(), fill);
    } else if (n > 0) {
        std::fill(std::shift_left(items.begin(), items.end(), n), items.end(), fill);
    } else {
        std::fill(items.begin(), std::shift_right(items.begin(), items.end(), -n), fill);
    }
}

}  // namespace CalcEngine
