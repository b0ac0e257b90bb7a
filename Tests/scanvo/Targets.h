// The instruction sets that vector code is chosen by.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>

namespace scanvo_test {

/// Runs the work once for every instruction set that this machine has, and for the fallback.
template <class Work>
void ForEachTarget(const Work& inWork) {
    const std::int64_t all = hwy::SupportedTargets();
    for (std::int64_t left = all; left != 0; left &= left - 1) {
        const std::int64_t target = left & -left;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::GetChosenTarget().Update(target);
        inWork();
    }
    hwy::GetChosenTarget().Update(all);
}

}  // namespace scanvo_test
