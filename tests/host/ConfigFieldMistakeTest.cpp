// Each mistake in what an ECU is like, by its message.

#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host_test::kGood;
using host_test::Mistake;

const std::vector<Mistake> kFieldMistakes = {
    {"EmptyUrl", "channel = 3", "channel = 3\nurl = \"\"", ":8: bus.url: is empty; give a text"},
    {"UrlOfNoKind", "channel = 3", "channel = 3\nurl = \"bogus:x\"", ":8: bus.url: bus \"bogus:x\": "},
    {"UrlIsNoText", "channel = 3", "channel = 3\nurl = 5",
     ":8: bus.url: found integer; give a text in quotation marks"},
    {"SingleTimeoutOfZero", "command_ms = 50", "command_ms = 50, t7_ms = 0",
     ":21: ecu.timeouts.t7_ms: found 0; allowed are 1 to 60000"},
    {"LongTimeoutOfZero", "long_ms = 900", "long_ms = 0",
     ":21: ecu.timeouts.long_ms: found 0; allowed are 1 to 60000"},
    {"SingleTimeoutOfCcp", "command_ms = 40", "command_ms = 40, t1_ms = 4",
     ":62: ecu.timeouts.t1_ms: is not a key of this table; allowed are command_ms, retries, "
     "retry_delay_ms, status_period_ms"},
    {"EndlessRetries", "retries = 3", "retries = -1",
     ":21: ecu.timeouts.retries: found -1; allowed are 0 to 100"},
    {"SynchPeriodTooLong", "command_ms = 50", "command_ms = 50, synch_period_ms = 60001",
     ":21: ecu.timeouts.synch_period_ms: found 60001; allowed are 0 to 60000"},
    {"UnknownSenseOfSuccess", "seed_key = \"sim:\", lock = [{ resource = \"daq\", s",
     "seed_key = \"sim:\", success = \"one\", lock = [{ resource = \"daq\", s",
     ":22: ecu.security.success: found \"one\"; give one of \"zero\", \"nonzero\""},
    {"NoTimeForTheKey", "seed_key = \"sim:\"", "time_ms = 0, seed_key = \"sim:\"",
     ":22: ecu.security.time_ms: found 0; allowed are 1 to 60000"},
    {"UnlockOfNoResource", "seed_key = \"sim:\"", "unlock = [\"flash\"], seed_key = \"sim:\"",
     ":22: ecu.security.unlock: found \"flash\"; give one of \"calibration\", \"daq\", \"stim\", "
     "\"programming\""},
    {"UnknownSecurityKey", "seed_key = \"sim:\"", "key = \"sim:\", seed_key = \"sim:\"",
     ":22: ecu.security.key: is not a key of this table; allowed are entry, helper, lock, seed_key, success, "
     "time_ms, unlock"},
    {"BroadcastWithFlags", "extended = true", "extended = true\nbroadcast_id = 0x80000001",
     ":44: ecu.broadcast_id: found 0x80000001; an identifier has 29 bits at most, flags do not belong in it "
     "(give extended = true instead)"},
    {"RateSwitchWithoutFd", "byte_order = \"little\"", "byte_order = \"little\"\nbit_rate_switch = true",
     ":20: ecu.bit_rate_switch: is set, but only CAN FD frames have it; give fd = true as well"},
    {"PadByteTooLarge", "byte_order = \"little\"", "byte_order = \"little\"\npad_byte = 256",
     ":20: ecu.pad_byte: found 256; allowed are 0 to 255"},
    {"PadByteOfCcp", "station_address = 0x1234", "pad_byte = 1",
     ":56: ecu.pad_byte: is not a key of this table; allowed are "},
    {"BlocksOfNoFrames", "block_mode = true", "master_block_mode = true",
     ":38: ecu.max_bs: is 0; master_block_mode needs the frames of a block, 1 to 255"},
    {"GranularityOfThree", "byte_order = \"little\"", "byte_order = \"little\"\naddress_granularity = 3",
     ":20: ecu.address_granularity: found 3; allowed are 1, 2 and 4"},
    {"GranularityOfEight", "byte_order = \"little\"", "byte_order = \"little\"\naddress_granularity = 8",
     ":20: ecu.address_granularity: found 8; allowed are 1 to 4"},
    {"EntryGranularityOfThree", "max_entry_size = 6", "max_entry_size = 6, entry_granularity = 3",
     ":23: ecu.daq.entry_granularity: found 3; allowed are 1, 2, 4 and 8"},
    {"EntrySizeThatIsNoMultiple", "max_entry_size = 6", "max_entry_size = 6, entry_granularity = 4",
     ":23: ecu.daq.max_entry_size: found 6; give a multiple of the entry_granularity, 4"},
    {"EntriesFinerThanAddresses", "byte_order = \"big\"\nmax_cto",
     "byte_order = \"big\"\naddress_granularity = 4\ndaq = { entry_granularity = 2 }\nmax_cto",
     ":47: ecu.daq.entry_granularity: found 2; give the address_granularity, 4, or more"},
    {"TimestampWithoutSize", "timestamp_size = 2", "timestamp = true",
     ":23: ecu.daq.timestamp: is set, but timestamp_size is 0; give a size, or leave timestamp out"},
    {"FixedTimestampLeftOut", "timestamp_size = 2",
     "timestamp_size = 2, timestamp = false, timestamp_fixed = true",
     ":23: ecu.daq.timestamp_fixed: is set, so packets have timestamps; leave timestamp out, and give "
     "timestamp_size"},
    {"PrescalerOfZero", "packing = \"whole\"", "packing = \"whole\", prescaler = 0",
     ":23: ecu.daq.prescaler: found 0; allowed are 1 to 255"},
    {"StaticListsThatAreNotThere", "packing = \"whole\"", "packing = \"whole\", dynamic = false",
     ":23: ecu.daq.list: is missing; give at least one, or leave out dynamic = false"},
    {"StaticListsThatSharePids", "identification = \"relative word\"",
     "dynamic = false, list = [{ odts = 3, first_pid = 4 }, { odts = 1, first_pid = 6 }]",
     ":23: ecu.daq.list: in \"a\": the one from first_pid 6 on shares 6 with another; give each its own "
     "first_pid"},
    {"StaticListsWithoutLimitThatSharePids", "identification = \"relative word\"",
     "dynamic = false, list = [{}, {}]",
     ":23: ecu.daq.list: in \"a\": the one from first_pid 0 on shares 0 with another; give each its own "
     "first_pid"},
    {"FirstPidThatIsNoPacket", "identification = \"relative word\"",
     "dynamic = false, list = [{ first_pid = 251 }]",
     ":23: ecu.daq.list.first_pid: found 251, which the library takes for no packet; give 250 or less"},
    {"ListsOfFixedEventsThatFollowEachOther", "identification = \"relative word\"",
     "dynamic = false, list = [{ first_pid = 1, fixed_event = \"fast\" }, { first_pid = 9, fixed_event = "
     "\"slow\" }]",
     ":23: ecu.daq.list.fixed_event: in \"a\": the library delivers nothing of list 1, because the events up "
     "to \"slow\" all have a predefined list; leave fixed_event out"},
    {"StaticListBehindTheLastPid", "identification = \"relative word\"",
     "dynamic = false, list = [{ odts = 3, first_pid = 250 }]",
     ":23: ecu.daq.list: in \"a\": the one from first_pid 250 on ends behind 250; give it a lower first_pid "
     "or "
     "fewer odts"},
    {"MinListsTooMany", "packing = \"whole\"", "packing = \"whole\", min_lists = 256",
     ":23: ecu.daq.min_lists: found 256; allowed are 0 to 255"},
    {"UnknownTimestampUnit", "timestamp_size = 2", "timestamp_size = 2, timestamp_unit = \"min\"",
     ":23: ecu.daq.timestamp_unit: found \"min\"; give one of \"ps\", \"10ps\", \"100ps\", \"ns\", "
     "\"10ns\", \"100ns\", \"us\", \"10us\", \"100us\", \"ms\", \"10ms\", \"100ms\", \"s\""},
    {"FixedEventIsNone", "packing = \"whole\"", "packing = \"whole\", list = [{ fixed_event = \"late\" }]",
     ":23: ecu.daq.list.fixed_event: found \"late\"; give one of \"fast\", \"slow\""},
    {"FirstListIsNone", "packing = \"bytes\"", "packing = \"bytes\", first_list = 2",
     ":65: ecu.daq.first_list: found 2; allowed are 0 to 1"},
    {"IdentifierOfAnEventIsLong", "priority = 9", "priority = 9, ids = [0x610, 0x800]",
     ":24: ecu.event.ids: found 0x800; without extended = true an identifier has 11 bits, up to 0x7FF"},
    {"IdentifierOfAnEventIsThatOfCommands", "priority = 9", "priority = 9, ids = [0x610, 0x600]",
     ":24: ecu.event.ids: in \"a\": those of \"fast\" hold command_id; leave it out"},
    {"IdentifierOfAnEventIsThatOfAnotherEcu", "priority = 9", "priority = 9, ids = [0x701]",
     ":58: ecu.response_id: in \"c\": 0x701 is the event.ids of \"a\" on the same bus; give another "
     "identifier"},
    {"BroadcastIsAResponseOfAnotherEcu", "station_address = 0x1234",
     "station_address = 0x1234\nbroadcast_id = 0x601",
     ":57: ecu.broadcast_id: in \"c\": 0x601 is the response_id of \"a\" on the same bus; give another "
     "identifier"},
    {"ListsOfAnEventTooMany", "priority = 9", "priority = 9, max_lists = 256",
     ":24: ecu.event.max_lists: found 256; allowed are 0 to 255"},
    {"PagesOfOneNumber", "{ address = 0x2000, size = 0x10 }",
     "{ address = 0x2000, size = 0x10 }, { kind = \"calibration\", address = 0x3000, size = 8, working_page "
     "= 1 }",
     ":25: ecu.segment.reference_page: equals working_page; give two numbers"},
    {"PageNumbersOfCcp", "reference_address = 0x3000,", "reference_address = 0x3000, working_page = 1,",
     ":67: ecu.segment.working_page: is not a key of this table; allowed are address, checksum, "
     "checksum_block, extension, kind, reference_address, size"},
    {"UnknownChecksumOfASegment", "size = 0x100, writable = true", "size = 0x100, checksum = \"md5\"",
     ":25: ecu.segment.checksum: found \"md5\"; give one of \"add11\", \"add12\", \"add14\", \"add22\", "
     "\"add24\", \"add44\", \"crc16\", \"crc16 ccitt\", \"crc32\", \"none\""},
    {"UnknownTypeOfAVariable", "size = 3, event", "type = \"u24\", event",
     ":36: ecu.variables.type: found \"u24\"; give one of \"u8\", \"i8\", \"u16\", \"i16\", \"u32\", "
     "\"i32\", \"u64\", \"i64\", \"f32\", \"f64\", \"bytes\""},
    {"VariableOfNoSizeAndType", ", size = 3", "",
     ":36: ecu.variables.size: is missing; give a whole number from 1 to 65535"},
    {"SizeThatIsNoMultipleOfTheType", "size = 3, event", "type = \"u16\", size = 3, event",
     ":36: ecu.variables.size: found 3; give a multiple of 2, the size of the type"},
    {"TypeBesideASignal", "signal = \"count\"", "signal = \"count\", type = \"u32\"",
     ":34: ecu.variables.type: is not a key of this table; allowed are factor, name, offset, period_ms, "
     "signal, unit"},
    {"FactorOfZero", "factor = 0.5", "factor = 0",
     ":35: ecu.variables.factor: found 0, which no raw value can be told from; give another number"},
    {"NeitherEventNorPeriod", "size = 3, event = \"slow\"", "size = 3, period_ms = 0",
     ":36: ecu.variables.period_ms: found 0; allowed are 1 to 60000"},
    {"OddSizeWithWideAddresses", "reject_zero_address = true\nevent",
     "reject_zero_address = true\naddress_granularity = 4\ndaq = { max_entry_size = 4 }\nevent",
     ":53: ecu.variables.size: is 2; give a multiple of the address_granularity, 4"},
    {"ParameterWithTheNameOfAVariable", "parameters = [{ name = \"gain\"",
     "variables = [{ name = \"gain\", address = 0x1000, size = 1, event = \"fast\" }]\nparameters = [{ name "
     "= "
     "\"gain\"",
     ":69: ecu.parameters: in \"c\": \"gain\" is the name of a variable as well; give each its own"},
};

class ConfigFieldMistake : public ::testing::TestWithParam<Mistake> {};

TEST_P(ConfigFieldMistake, IsNamedWithItsPlaceAndTheWayOut) {
    host_test::expectNamed(GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, ConfigFieldMistake, ::testing::ValuesIn(kFieldMistakes),
                         host_test::mistakeName);

}  // namespace
