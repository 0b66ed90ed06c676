#pragma once

#include "tests/naive/item_file_check.h"

#include "tovelkarin/tnreadcfg.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>

namespace naive {

// A reader of items while its file is edited, touched and taken away and the clock jumps.
inline void CheckReload(const std::uint8_t* pData, std::size_t nSize) {
    static const long STEPS[] = {-302, -301, -300, 1, 299, 300, 301, 302};
    ByteSource source(pData, nSize);
    const zemb::ScopedDebugSink silence([](const zemb::DebugLine&) {});
    zemb::ScopedClock clock;
    long tNow = 1772352000;
    clock.Freeze(tNow * 1000000);
    NSTN_util::TNReadCfg cfg;
    Items mapItem;  // what the reader should have
    long tLoaded = 0;
    long tChecked = 0;
    long tModify = -1;
    std::remove(ScratchFile().c_str());
    cfg.SetFileName(ScratchFile());
    while (!source.IsEmpty()) {
        switch (source.Below(4)) {
            case 0: {
                std::ofstream(ScratchFile(), std::ios::binary) << source.TextOf("ab=1\n", 12);
                tModify = source.Below(4);
                const timespec arrTime[] = {{tModify, 0}, {tModify, 0}};
                utimensat(AT_FDCWD, ScratchFile().c_str(), arrTime, 0);
                break;
            }
            case 1:
                if (source.Below(3) != 0)
                    break;
                std::remove(ScratchFile().c_str());
                tModify = -1;
                break;
            case 2:
                tNow += STEPS[source.Below(8)];
                clock.Freeze(tNow * 1000000);
                break;
            default: {
                if (std::labs(tNow - tChecked) >= 301) {
                    tChecked = tNow;
                    Items mapFresh;
                    std::vector<std::string> vecBad;
                    if (tModify != tLoaded && ReadItemFile(ScratchFile(), mapFresh, vecBad)) {
                        mapItem = mapFresh;
                        tLoaded = tModify;
                    }
                }
                Items mapOurs;
                cfg.GetAllCfgItem(mapOurs);
                Expect(mapOurs == mapItem, "items after a reload");
            }
        }
    }
}

}  // namespace naive
