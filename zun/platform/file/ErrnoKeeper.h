#pragma once

#include <cerrno>

namespace orvane_com::zun::file {

/// Gives errno back at its end as it was at its beginning.
class ErrnoKeeper {
public:
    ErrnoKeeper() : m_error(errno) {}
    ErrnoKeeper(ErrnoKeeper const&) = delete;
    ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;
    ~ErrnoKeeper() { errno = m_error; }

    int error() const { return m_error; }

private:
    int const m_error;
};

} // namespace orvane_com::zun::file
