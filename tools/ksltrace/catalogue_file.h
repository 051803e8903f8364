// SPDX-License-Identifier: Apache-2.0
// A catalogue as a JSON file, so that records of any program can be rendered; docs/ksltrace.md has the keys.
#pragma once

#include "ksltrace/catalogue.h"

#include <stdexcept>
#include <string>

namespace ksltrace {

// Its text is a sentence that names the file and the place in it.
class CatalogueError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Adds the points of a file to those that are there. Throws CatalogueError.
void add_catalogue_file(const std::string &path, Catalogue &catalogue);
// The same with a file's text; `path` names it in errors.
void add_catalogue_text(const std::string &path, const std::string &text, Catalogue &catalogue);

std::string render_catalogue(const Catalogue &catalogue);

} // namespace ksltrace
