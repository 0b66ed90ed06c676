#pragma once

// The host's and the tests' side of the embedded platform, all topics at once.
#include "zemb/callchain_log.h"
#include "zemb/clock.h"
#include "zemb/current_task.h"
#include "zemb/debug_sink.h"
#include "zemb/paths.h"
#include "zemb/process.h"
