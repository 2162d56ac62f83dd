// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <initializer_list>
#include <vector>

/// A changed version of a JSON object that is needed for a short time. Only the members that change are copied; the
/// others move here and back, because copying a large document takes long.
class ktBorrowedJson {
public:
    /// @param owner   an object; must outlive this. Until this ends, it lacks the values that are not copied.
    /// @param changed names of the members that are copied
    /// @throws std::bad_alloc, with `owner` as before
    ktBorrowedJson(ktJson& owner, std::initializer_list<const char*> changed);
    /// Gives the values back.
    ~ktBorrowedJson();
    ktBorrowedJson(const ktBorrowedJson&) = delete;
    ktBorrowedJson& operator=(const ktBorrowedJson&) = delete;

    /// All members in their order. Members that are not copied stay as they are; none is removed.
    ktJson json = ktJson::object();

private:
    ktJson& owner;
    std::vector<std::ptrdiff_t> lent; ///< positions of the members

    void swapLent() noexcept;
};
