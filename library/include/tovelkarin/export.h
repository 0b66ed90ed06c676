#pragma once

// Marks what libtovelkarin.so offers to its callers; everything else stays hidden.
#define TN_API __attribute__((visibility("default")))
