// ProcessFacts.h - what this process holds at the moment.
#pragma once

#include <cstddef>
#include <map>
#include <string>

namespace Validate {

/// The memory that is allocated from the heap, in bytes; 0 where the system does not tell.
std::size_t CountHeapBytes();

/// Every open descriptor and what it is, such as "socket:[4711]"; empty where the system does not
/// tell.
std::map<int, std::string> ListDescriptors();

} // namespace Validate
