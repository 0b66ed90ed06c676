#pragma once

namespace NSTN_util {

// Sleeps for one second; ends earlier when a signal comes.
void Nap();

// Puts pNap in the place of the sleep, for tests; null puts the sleep back.
void ReplaceNap(void (*pNap)());

}  // namespace NSTN_util
