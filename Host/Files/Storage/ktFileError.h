// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <stdexcept>
#include <string>

/// What is wrong with a file. Thrown and caught inside this folder only; ktSceneFile hands it on as text.
class ktFileError : public std::runtime_error {
public:
    /// @param object what inside the file is meant: a JSON pointer such as /meshes/0/primitives/1, or "file"
    /// @param reason why it cannot be used, without a full stop
    ktFileError(std::string object, const std::string& reason) : std::runtime_error(reason), where(std::move(object)) {}

    const std::string& object() const { return where; }
    std::string reason() const { return what(); }

private:
    std::string where;
};
