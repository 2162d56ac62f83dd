// SPDX-License-Identifier: LGPL-2.1-or-later
// Lends the large members of a JSON object to a changed version of it.
#include "ktBorrowedJson.h"

#include <algorithm>
#include <cstddef>
#include <utility>

ktBorrowedJson::ktBorrowedJson(ktJson& owner_, std::initializer_list<const char*> changed) : owner(owner_) {
    const auto& members = owner.get_ref<const ktJson::object_t&>();
    ktJson::object_t copies;
    copies.reserve(members.size());
    for (const auto& [name, value] : members) {
        const bool isCopied = std::find(changed.begin(), changed.end(), name) != changed.end();
        if (!isCopied)
            lent.push_back(static_cast<std::ptrdiff_t>(copies.size()));
        copies.emplace_back(name, isCopied ? value : ktJson());
    }
    json = std::move(copies);
    swapLent();
}

ktBorrowedJson::~ktBorrowedJson() {
    swapLent();
}

void ktBorrowedJson::swapLent() noexcept {
    auto* const owned = owner.get_ptr<ktJson::object_t*>();
    auto* const borrowed = json.get_ptr<ktJson::object_t*>();
    for (const std::ptrdiff_t position : lent)
        owned->begin()[position].second.swap(borrowed->begin()[position].second);
}
