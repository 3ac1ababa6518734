// Each mistake in a configuration by its message.

#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host_test::kGood;
using host_test::Mistake;

const std::vector<Mistake> kMistakes = {
    {"UnknownKeyAtTheTop", "schema = 1\n", "schema = 1\ncolor = 2\n",
     ":2: color: is not a key of this table; allowed are bus, demo, ecu, schema"},
    {"UnknownKeyBelow", "retries = 3", "retry = 3",
     ":21: ecu.timeouts.retry: is not a key of this table; allowed are command_ms, long_ms, retries, "
     "retry_delay_ms, status_period_ms, synch_period_ms, t1_ms, t2_ms, t3_ms, t4_ms, t5_ms, t6_ms, t7_ms"},
    {"OtherSchema", "schema = 1", "schema = 2", ":1: schema: found 2; this program reads 1"},
    {"MissingSchema", "schema = 1\n", "", ":1: schema: is missing; give a whole number from 1 to 1000000"},
    {"MissingText", "name = \"one\"\n", "", ":5: bus.name: is missing; give a text in quotation marks"},
    {"EmptyText", "name = \"one\"", "name = \"\"", ":6: bus.name: is empty; give a text"},
    {"NumberForText", "name = \"one\"", "name = 1",
     ":6: bus.name: found integer; give a text in quotation marks"},
    {"TextForNumber", "channel = 3", "channel = \"3\"",
     ":7: bus.channel: found string; give a whole number from 0 to 255"},
    {"NumberTooLarge", "channel = 3", "channel = 256", ":7: bus.channel: found 256; allowed are 0 to 255"},
    {"TextForReal", "seconds = 2", "seconds = \"2\"", ":3: demo.seconds: found string; give a finite number"},
    {"EndlessReal", "seconds = 2", "seconds = inf",
     ":3: demo.seconds: found floating-point; give a finite number"},
    {"SecondsOutOfRange", "seconds = 2", "seconds = 0.25",
     ":3: demo.seconds: found 0.25; allowed are 0.5 to 3600"},
    {"NumberForFlag", "fd = true", "fd = 1", ":44: ecu.fd: found integer; give true or false"},
    {"UnknownWord", "byte_order = \"little\"", "byte_order = \"intel\"",
     ":19: ecu.byte_order: found \"intel\"; give one of \"little\", \"big\""},
    {"TableForArray", "commands = [0xF8, 0xDA]", "commands = 0xF8",
     ":20: ecu.commands: found integer; give an array of numbers"},
    {"NumberForTable",
     "timeouts = { command_ms = 50, long_ms = 900, retries = 3, retry_delay_ms = 7, "
     "status_period_ms = 400 }",
     "timeouts = 5", ":21: ecu.timeouts: found integer; give a table [ecu.timeouts]"},
    {"NumbersForTables", "segment = [{ address = 0x1000", "segment = [7, { address = 0x1000",
     ":25: ecu.segment: found integer; give an array of tables"},
    {"NotToml", "channel = 3", "channel = = 3", ":7: is not TOML: "},
    {"NoBus",
     "[[bus]]\nname = \"one\"\nchannel = 3\nnominal_rate = 500_000\n[[bus]]\nname = \"two\"\nchannel "
     "= 4\nnominal_rate = 1_000_000\ndata_rate = 4_000_000\n",
     "", ":1: bus: is missing; give at least one [[bus]]"},
    {"TwoBusesOfOneName", "name = \"two\"", "name = \"one\"",
     ":10: bus.name: \"one\" is the name of another bus; give each its own"},
    {"TwoBusesOnOneChannel", "channel = 4", "channel = 3",
     ":11: bus.channel: 3 is the channel of another bus; give each its own"},
    {"UnknownBus", "bus = \"two\"", "bus = \"six\"",
     ":40: ecu.bus: found \"six\"; give one of \"one\", \"two\""},
    {"LongIdentifier", "command_id = 0x600", "command_id = 0x800",
     ":17: ecu.command_id: found 0x800; without extended = true an identifier has 11 bits, up to 0x7FF"},
    {"IdentifierWithFlags", "command_id = 0x18DA0001", "command_id = 0x98DA0001",
     ":41: ecu.command_id: found 0x98DA0001; an identifier has 29 bits at most, flags do not belong in it "
     "(give "
     "extended = true instead)"},
    {"EqualIdentifiers", "response_id = 0x601", "response_id = 0x600",
     ":18: ecu.response_id: equals command_id; give two identifiers"},
    {"FdOnAClassicBus", "bus = \"two\"", "bus = \"one\"",
     ":44: ecu.fd: is set, but bus \"one\" has no data_rate; give it one, or leave fd out"},
    {"LongFramesWithoutFd", "byte_order = \"little\"", "byte_order = \"little\"\nmax_cto = 9",
     ":20: ecu.max_cto: found 9; allowed are 8 to 8"},
    {"TimeoutOfZero", "command_ms = 50", "command_ms = 0",
     ":21: ecu.timeouts.command_ms: found 0; allowed are 1 to 60000"},
    {"TimestampOfThreeBytes", "timestamp_size = 2", "timestamp_size = 3",
     ":23: ecu.daq.timestamp_size: found 3; allowed are 0, 1, 2 and 4"},
    {"UnknownPacking", "packing = \"whole\"", "packing = \"tight\"",
     ":23: ecu.daq.packing: found \"tight\"; give one of \"whole\", \"bytes\", \"fill\""},
    {"LocksWithoutKey", "seed_key = \"sim:\", ", "",
     ":22: ecu.security.seed_key: in \"a\": is missing, so that the lock would stay closed; give one"},
    {"TwoLocksOfOneResource", "lock = [{", "lock = [{ resource = \"daq\", seed_length = 1 }, {",
     ":22: ecu.security.lock: in \"a\": a resource has two locks; give each resource one"},
    {"TwoEcusOfOneName", "name = \"b\"", "name = \"a\"",
     ":39: ecu.name: \"a\" is the name of another ECU; give each its own"},
    {"SilencedIsNoEcu", "silenced = \"b\"", "silenced = \"d\"",
     ":4: demo.silenced: found \"d\"; give one of \"a\", \"b\", \"c\""},
    {"TwoEventsOfOneName", "name = \"slow\", cycle", "name = \"fast\", cycle",
     ":24: ecu.event.name: \"fast\" is the name of another event; give each its own"},
    {"TwoVariablesOfOneName", "name = \"raw\"", "name = \"wave\"",
     ":36: ecu.variables: in \"a\": \"wave\" stands there twice; give each its own name"},
    {"TwoSignalsOfOneName", "name = \"slope\"", "name = \"wave\"",
     ":30: ecu.signals: in \"a\": \"wave\" stands there twice; give each its own name"},
    {"OverlappingSegments", "address = 0x2000, size = 0x10 }", "address = 0x10FF, size = 0x2000 }",
     ":25: ecu.segment: in \"a\": those at 0x1000 and 0x10FF overlap; move or shorten one"},
    {"SegmentBehindTheEnd", "address = 0x2000, size = 0x10 }", "address = 0xFFFFFFFF, size = 2 }",
     ":25: ecu.segment: in \"a\": the one at 0xFFFFFFFF ends behind the last address; move or shorten it"},
    {"SignalOutsideTheSegments", "event = \"slow\", address = 0x2000", "event = \"slow\", address = 0x2010",
     ":31: ecu.signals: in \"a\": \"fixed\" lies outside the segments of kind \"ram\"; move it into one"},
    {"VariableOutsideTheSegments", "address = 0x1050, size = 3", "address = 0x10FE, size = 3",
     ":36: ecu.variables: in \"a\": \"raw\" lies outside the segments; move it into one, or add a segment"},
    {"OverlappingSignals", "address = 0x1040", "address = 0x1003",
     ":30: ecu.signals: in \"a\": \"count\" and \"slope\" overlap; move one"},
    {"UnknownSignal", "signal = \"wave\"", "signal = \"wafe\"",
     ":35: ecu.variables.signal: found \"wafe\"; give the name of a signal of this ECU"},
    {"StateWithoutTexts", "[\"off\", \"on\"]", "[]",
     ":29: ecu.signals.texts: give 1 to 256 texts of at most 16 bytes"},
    {"StateWithLongText", "[\"off\", \"on\"]", "[\"seventeen letters\"]",
     ":29: ecu.signals.texts: give 1 to 256 texts of at most 16 bytes"},
};

const std::vector<Mistake> kMemoryAndCcpMistakes = {
    {"UnknownProtocol", "protocol = \"ccp\"", "protocol = \"can\"",
     ":54: ecu.protocol: found \"can\"; give one of \"xcp\", \"ccp\""},
    {"XcpKeyAtACcpEcu", "station_address", "max_cto = 8\nstation_address",
     ":56: ecu.max_cto: is not a key of this table; allowed are broadcast_id, bus, byte_order, checksum, "
     "command_id, "
     "commands, daq, event, extended, flash, name, pad_frames, parameters, protocol, reject_zero_address, "
     "response_id, "
     "security, segment, signals, station_address, timeouts, variables"},
    {"CcpKeyAtAnXcpEcu", "block_mode = true", "station_address = 1",
     ":48: ecu.station_address: is not a key of this table; allowed are "},
    {"StationAddressTooLarge", "station_address = 0x1234", "station_address = 0x10000",
     ":56: ecu.station_address: found 65536; allowed are 0 to 65535"},
    {"LongTimeoutOfCcp", "command_ms = 40", "long_ms = 40",
     ":62: ecu.timeouts.long_ms: is not a key of this table; allowed are command_ms, retries, "
     "retry_delay_ms, status_period_ms"},
    {"ResourceThatCcpHasNot", "lock = [{ resource = \"daq\" }", "lock = [{ resource = \"stim\" }",
     ":63: ecu.security.lock.resource: found \"stim\"; give one of \"calibration\", \"daq\", "
     "\"programming\""},
    {"SeedLengthOfCcp", "{ resource = \"programming\" }", "{ resource = \"programming\", seed_length = 4 }",
     ":63: ecu.security.lock.seed_length: is not a key of this table; allowed are resource"},
    {"PriorityOfACcpEvent", "{ name = \"fast\", cycle = 5, unit = \"ms\" }",
     "{ name = \"fast\", cycle = 5, unit = \"ms\", priority = 1 }",
     ":64: ecu.event.priority: is not a key of this table; allowed are cycle, name, unit"},
    {"UnknownChecksum", "checksum = \"add12\"", "checksum = \"crc8\"",
     ":61: ecu.checksum: found \"crc8\"; give one of \"add11\", \"add12\", \"add14\", \"add22\", "
     "\"add24\", \"add44\", \"crc16\", \"crc16 ccitt\", \"crc32\""},
    {"NoDaqList",
     ", list = [{ odts = 3, first_pid = 4, events = [\"slow\", \"fast\"], id = 0x702 }, { odts = "
     "2, first_pid = 7 }]",
     "", ":65: ecu.daq.list: is missing; give at least one"},
    {"NoOdts", "odts = 3", "odts = 0", ":65: ecu.daq.list.odts: found 0; allowed are 1 to 254"},
    {"EventOfAListIsNone", "[\"slow\", \"fast\"]", "[\"slow\", \"late\"]",
     ":65: ecu.daq.list.events: found \"late\"; give one of \"fast\", \"slow\""},
    {"LongIdentifierOfAList", "id = 0x702 }", "id = 0x802 }",
     ":65: ecu.daq.list.id: found 0x802; without extended = true an identifier has 11 bits, up to 0x7FF"},
    {"IdentifierOfAListIsThatOfCommands", "id = 0x702 }", "id = 0x700 }",
     ":65: ecu.daq.list.id: in \"c\": equals command_id; give another identifier, or none"},
    {"IdentifierOfAListIsThatOfAnotherEcu", "id = 0x702 }", "id = 0x601 }",
     ":65: ecu.daq.list.id: in \"c\": 0x601 is the response_id of \"a\" on the same bus; give another "
     "identifier"},
    {"ListsThatSharePids", "first_pid = 7", "first_pid = 6",
     ":65: ecu.daq.list: in \"c\": the one from first_pid 6 on shares 6 with another; give each its own "
     "first_pid"},
    {"ListBehindTheLastPid", "odts = 2, first_pid = 7", "odts = 2, first_pid = 253",
     ":65: ecu.daq.list: in \"c\": the one from first_pid 253 on ends behind 253; give it a lower first_pid "
     "or fewer odts"},
    {"UnknownKindOfSegment", "kind = \"flash\"", "kind = \"rom\"",
     ":67: ecu.segment.kind: found \"rom\"; give one of \"ram\", \"calibration\", \"flash\""},
    {"WritableFlash", "{ kind = \"flash\",", "{ kind = \"flash\", writable = true,",
     ":67: ecu.segment.writable: is not a key of this table; allowed are address, checksum, checksum_block, "
     "extension, kind, size"},
    {"CalibrationWithoutReference", "reference_address = 0x3000, ", "",
     ":67: ecu.segment.reference_address: is missing; give a whole number from 0 to 4294967295"},
    {"ReferenceOverOtherMemory", "reference_address = 0x3000", "reference_address = 0x7FFF",
     ":67: ecu.segment: in \"c\": those at 0x7FFF and 0x8000 overlap; move or shorten one"},
    {"BrokenSector", "address = 0x8000, size = 0x400", "address = 0x8000, size = 0x480",
     ":67: ecu.segment.size: found 0x480; give a multiple of the sector size, 0x100"},
    {"TwoSegmentsOfCalibration", "segment = [{ address = 0x1000, size = 0x100 }, { kind = \"calibration\"",
     "segment = [{ kind = \"calibration\", address = 0x9000, reference_address = 0xA000, size = 0x100 }, { "
     "kind = \"calibration\"",
     ":67: ecu.segment: in \"c\": there are two of kind \"calibration\"; give one at most, and the others as "
     "\"ram\""},
    {"SectorOfNoSize", "sector_size = 0x100", "sector_size = 0",
     ":66: ecu.flash.sector_size: found 0; allowed are 1 to 16777216"},
    {"SignalInAnotherKindOfMemory", "{ address = 0x2000, size = 0x10 }",
     "{ kind = \"flash\", address = 0x2000, size = 0x1000 }",
     ":31: ecu.signals: in \"a\": \"fixed\" lies outside the segments of kind \"ram\"; move it into one"},
    {"ParameterOutsideTheWorkingPage", "address = 0x207E", "address = 0x207F",
     ":68: ecu.parameters: in \"c\": \"gain\" lies outside the working page; move it into the segment of "
     "kind \"calibration\""},
    {"TwoParametersOfOneName", "name = \"slope\", type = \"f32\"", "name = \"gain\", type = \"f32\"",
     ":68: ecu.parameters: in \"c\": \"gain\" stands there twice; give each its own name"},
    {"ParameterWithoutValue", ", value = -2", "",
     ":68: ecu.parameters.value: is missing; give a finite number"},
    {"ParameterThatDoesNotFit", "value = -2", "value = 32768",
     ":68: ecu.parameters.value: found 32768; give a value that the type can hold"},
    {"ParameterThatIsNotWhole", "value = -2", "value = 0.5",
     ":68: ecu.parameters.value: found 0.5; give a value that the type can hold"},
};

class ConfigMistake : public ::testing::TestWithParam<Mistake> {};

TEST_P(ConfigMistake, IsNamedWithItsPlaceAndTheWayOut) {
    host_test::expectNamed(GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, ConfigMistake, ::testing::ValuesIn(kMistakes), host_test::mistakeName);
INSTANTIATE_TEST_SUITE_P(MemoryAndCcp, ConfigMistake, ::testing::ValuesIn(kMemoryAndCcpMistakes),
                         host_test::mistakeName);

}  // namespace
