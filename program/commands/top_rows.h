#pragma once

#include "view/top_frame.h"

#include "zemb/black_box.h"

#include <vector>

namespace host {

enum class ETopSort { AGE, OPERATION, NE };

// What the person in front wants to see.
struct TopWish {
    ETopSort eSort = ETopSort::AGE;
    int nNe = -1;  // grants of this NE only; -1: all
};

// The boxes of some processes at a moment as a picture: processes, grants, busiest NEs, threads
// that are busy for over 300 seconds, tasks.
TopPicture PictureOf(const std::vector<zemb::BlackBox>& vecBox, const TopWish& wish,
                     long long nNow);

}  // namespace host
