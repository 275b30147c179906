#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/Result.h"
#include "core/archive/Value.h"

// The settings file's and the command pipe's byte format: the platform's keyed archive, a binary
// property list ("bplist00") holding $version 100000, $archiver "NSKeyedArchiver", $top and the
// flat object table $objects ($null first), in which objects refer to each other by UID.
namespace velmora::keyed_archive {

// The deepest nesting decode accepts: the root is level 0, each collection adds one.
inline constexpr int kMaxDepth = 256;

// Archives a value as the platform's archiver does: dictionaries as NSMutableDictionary,
// arrays as NSMutableArray, Data as NSMutableData, Date as NSDate, strings, integers, booleans
// and reals as plain property-list objects; dictionary keys keep their insertion order; equal
// strings share one object. Two limits of libplist 2.2, which writes the property list: its
// strings are C strings, so ill-formed UTF-8 and NUL characters are archived as U+FFFD, and a
// real that a float holds exactly is stored in 4 bytes (the platform reads back the same
// number).
std::vector<std::uint8_t> encode(const Value& root);

// The root object: $top's "root", or the only entry of $top (an archive made by a keyless
// encode stores "$0"). Reads what the platform writes: NSDictionary, NSArray, NSSet and their
// mutable and ordered variants, NSString objects, NSDate, NSData, NSURL (as its string, the
// relative part resolved against the base), plain strings, integers, booleans and reals. A
// dictionary key that occurs twice keeps its first place and its last value.
// Everything else is an Error, never a crash: ErrorCode::Corrupt for bytes that break the
// format (truncation, references out of range, cycles), ErrorCode::Unsupported for a
// well-formed archive this reader does not handle (a nil root, another class, another
// archiver, nesting beyond kMaxDepth, an unsigned integer of 2^63 or more). Objects that are
// shared are decoded at every place they occur; the decoded value may not grow beyond about
// 64 times the archive's size plus 1 MiB, which stops a small archive from standing for an
// exponential number of values.
Result<Value> decode(std::span<const std::uint8_t> bytes);

// The object stored under one key of $top (an encode with a key other than "root").
Result<Value> decode(std::span<const std::uint8_t> bytes, std::string_view topKey);

// decode() of an archive whose root must be a dictionary, as the settings file and every
// command record are; another root is ErrorCode::Invalid.
Result<Dictionary> decodeDictionary(std::span<const std::uint8_t> bytes);

} // namespace velmora::keyed_archive
