// SPDX-License-Identifier: Apache-2.0
// A catalogue as a JSON file, so that records of any program can be rendered; docs/ksltrace.md has the keys.
#pragma once

#include "ksltrace/catalogue.h"

#include <json/problem.h>
#include <string>

namespace ksltrace {

// Its text is a sentence that names the file and the place in it.
using CatalogueError = json::Unusable;

// Adds the points of a file to those that are there. Throws CatalogueError, such as "names.json, line 3, column 20:
// points[1].kind must be ...".
void add_catalogue_file(const std::string &path, Catalogue &catalogue);
// The same with a text; in errors the place is without a file's name.
void add_catalogue_text(std::string_view text, Catalogue &catalogue);

std::string render_catalogue(const Catalogue &catalogue);

} // namespace ksltrace
