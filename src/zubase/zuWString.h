#pragma once

#include <string>

#include "zuString.h"

/// The wide form of a file name, which is read as UTF-8: one `wchar_t` for each character, or for
/// each UTF-16 unit where that is its size.
///
/// Any bytes survive: a byte of invalid UTF-8 becomes U+DC00 plus its value, which valid UTF-8
/// never produces, and `zukel::Narrow` converts it back.
class zuWString {
public:
    /// Takes the name up to its first NUL.
    explicit zuWString(const zuString& name);

    /// Ends with a NUL and is valid until the destructor.
    const wchar_t* c_str() const noexcept { return text_.c_str(); }

private:
    std::wstring text_;
};

namespace zukel {

/// The bytes of the name that a `zuWString` was made from, for a platform whose calls take those.
zuString Narrow(const wchar_t* wide);

}  // namespace zukel
