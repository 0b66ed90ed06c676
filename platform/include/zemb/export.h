#pragma once

// Marks what the platform offers to modules and hosts; everything else stays hidden.
#define ZEMB_API __attribute__((visibility("default")))
