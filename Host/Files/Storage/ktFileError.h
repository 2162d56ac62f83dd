// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <stdexcept>
#include <string>

/// An error in a file. Thrown and caught only inside Host/Files; ktSceneFile reports it as text.
class ktFileError : public std::runtime_error {
public:
    /// @param object the part of the file: a JSON pointer such as /meshes/0/primitives/1, or "file"
    /// @param reason why it cannot be used, without a full stop
    ktFileError(std::string object, const std::string& reason) : std::runtime_error(reason), where(std::move(object)) {}

    const std::string& object() const { return where; }
    std::string reason() const { return what(); }

private:
    std::string where;
};
