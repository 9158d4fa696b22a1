#pragma once

#include <version>

#ifdef __GLIBCXX__
#include <cxxabi.h>
#endif

namespace orvane_com::zun::file {

/// Runs the action. False when it threw, whatever that was; only the unwinding of a cancelled thread goes on.
template <typename Action>
bool attempt(Action const& action) {
    try {
        action();
        return true;
#ifdef __GLIBCXX__
    } catch (abi::__forced_unwind const&) {
        throw;
#endif
    } catch (...) {
        return false;
    }
}

} // namespace orvane_com::zun::file
