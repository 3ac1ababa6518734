/// @file
/// Variables as a command line names them.
#pragma once

#include "host/ConfigRecords.h"

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// A variable of an ECU.
struct NamedVariable {
    std::size_t ecu = 0;  ///< index of the configuration
    VariableRecord record;
};

/// The forms that `findVariable` takes, for help texts.
inline constexpr const char* kVariableForms =
    "NAME, ECU.NAME, ADDRESS:SIZE or ADDRESS:TYPE, with TYPE one of u8 i8 u16 i16 u32 i32 u64 i64 f32 f64";

/// The variable that @p text means: its name in the configuration, "ECU.NAME", or an address with a size in
/// bytes or a type, as "0x20000000:4" and "ECU.0x20000000:u16". Numbers are decimal, or hexadecimal behind
/// "0x".
/// @param ecus  indices of the ECUs that are looked at
/// @throws HostError ExitCode::usage for a name that is not there, with those that are most like it, and for
///         one that several ECUs have
[[nodiscard]] NamedVariable findVariable(const Config& config, const std::vector<std::size_t>& ecus,
                                         const std::string& text);

/// `findVariable` for each of @p texts.
[[nodiscard]] std::vector<NamedVariable> findVariables(const Config& config,
                                                       const std::vector<std::size_t>& ecus,
                                                       const std::vector<std::string>& texts);

/// Those of @p known that are most like @p wanted, the best first, at most @p most of them. Far ones are left
/// out.
[[nodiscard]] std::vector<std::string> nearestNames(const std::string& wanted,
                                                    const std::vector<std::string>& known, std::size_t most);

/// The indices of the ECUs of @p variables, ascending, each once.
[[nodiscard]] std::vector<std::size_t> ecusOf(const std::vector<NamedVariable>& variables);

}  // namespace host
