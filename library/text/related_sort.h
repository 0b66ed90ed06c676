#pragma once

#include <initializer_list>
#include <vector>

namespace NSTN_util {

// Sorts vecKey ascending, equal keys in their order, and moves the elements of the followers, one
// or two that are as long, with it. Linear for many elements, nothing is moved when they are sorted
// already. Vectors of over 2^32 elements stay as they are.
void SortTogether(std::vector<int>& vecKey, std::initializer_list<std::vector<int>*> listFollower);

}  // namespace NSTN_util
