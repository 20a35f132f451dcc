#pragma once

#include "Shelf.h"

#include <memory>
#include <string>

namespace outbox
{

/// Opens the place where reports are kept, in a folder that is made if it is missing.
/// @param strFolder  in UTF-8
/// @throws std::exception whose text says why the folder can't be used
std::unique_ptr<Shelf> OpenStore(const std::string& strFolder);

} // namespace outbox
