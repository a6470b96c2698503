#pragma once
// The simulator's variables by name, their units and data types, and reading and writing them in an object.

#include "simulator/world.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

// One variable of a data definition, resolved when it is added.
struct Datum {
    int variable = 0;       // row of the table in variables.cpp
    std::uint32_t type = 0; // data type code of the protocol
    double factor = 1;      // value in the client's unit = own value x factor
    std::uint32_t size = 0; // bytes; 0 for the text of variable length
};

struct Definition {
    std::vector<Datum> datums;
    std::uint32_t size = 0; // bytes of the fixed-length data
    bool variableLength = false;
    bool writable = true;  // all of it
    bool position = false; // holds the latitude
};

constexpr std::uint32_t exceptionNone = 0, exceptionName = 7, exceptionDataType = 18, exceptionData = 20;

// Appends a datum; gives the exception number, exceptionNone for success. Names and units in any case.
std::uint32_t addDatum(Definition& definition, std::string_view name, std::string_view unit,
                       std::uint32_t type);

// Appends the values of all datums, packed.
void appendData(std::string& out, const World& world, const SimObject& object, const Definition& definition);

// Writes a block of definition.size bytes; gives the exception number. Changes nothing unless all of it is good.
std::uint32_t writeData(SimObject& object, const Definition& definition, const char* data);

} // namespace rig
