#pragma once

#include <QString>

namespace kestrune::test {

/// Draws every building block of the panel, dark and light, into PNG files in a directory: for the eye, not
/// for a comparison.
void writeGallery(const QString &directory);

} // namespace kestrune::test
