#include "core/archive/KeyedArchive.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include <plist/plist.h>
#include <unicode/unistr.h>

#include "core/archive/BinaryPlistReader.h"

namespace velmora::keyed_archive {

namespace {

constexpr std::uint64_t kArchiveVersion = 100000;
constexpr char kArchiverName[] = "NSKeyedArchiver";

// ---------------------------------------------------------------------------------------------
// Writing

struct PlistFree {
    void operator()(void* node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

// A class description's $classes: the class, then its superclasses.
using ClassChain = std::span<const char* const>;
constexpr std::array<const char*, 3> kMutableDictionary{"NSMutableDictionary", "NSDictionary",
                                                        "NSObject"};
constexpr std::array<const char*, 3> kMutableArray{"NSMutableArray", "NSArray", "NSObject"};
constexpr std::array<const char*, 3> kMutableData{"NSMutableData", "NSData", "NSObject"};
constexpr std::array<const char*, 2> kDate{"NSDate", "NSObject"};

// libplist takes a C string and reads it as UTF-8 to choose between an ASCII and a UTF-16
// object: it would end the text at a NUL and garble ill-formed bytes, so both become U+FFFD.
plist_t newString(const std::string& text) {
    if (std::all_of(text.begin(), text.end(), [](unsigned char c) { return c != 0 && c < 0x80; })) {
        return plist_new_string(text.c_str());
    }
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    unicode.findAndReplace(icu::UnicodeString(char16_t{0}), icu::UnicodeString(char16_t{0xFFFD}));
    std::string valid;
    unicode.toUTF8String(valid);
    return plist_new_string(valid.c_str());
}

// Builds $objects in the platform's order: a collection takes its UID first, then its keys and
// its values take theirs depth-first, then its class description, which later objects of the
// same class share.
class Archiver {
public:
    std::vector<std::uint8_t> archive(const Value& root);

private:
    std::uint64_t add(const Value& value);
    std::uint64_t addObject(plist_t object);
    std::uint64_t addString(const std::string& text);
    std::uint64_t addArray(const Array& array);
    std::uint64_t addDictionary(const Dictionary& dictionary);
    std::uint64_t addInstance(const char* field, plist_t value, ClassChain chain);
    void complete(std::uint64_t uid, PlistPtr fields, ClassChain chain);

    std::vector<PlistPtr> m_objects;
    std::map<std::string, std::uint64_t, std::less<>> m_strings;
    std::map<std::string_view, std::uint64_t> m_classes;
};

std::vector<std::uint8_t> Archiver::archive(const Value& root) {
    addObject(plist_new_string("$null"));
    const std::uint64_t rootUid = add(root);
    PlistPtr top(plist_new_dict());
    plist_dict_set_item(top.get(), "root", plist_new_uid(rootUid));
    PlistPtr objects(plist_new_array());
    for (PlistPtr& object : m_objects) {
        plist_array_append_item(objects.get(), object.release());
    }
    PlistPtr archive(plist_new_dict());
    plist_dict_set_item(archive.get(), "$version", plist_new_uint(kArchiveVersion));
    plist_dict_set_item(archive.get(), "$archiver", plist_new_string(kArchiverName));
    plist_dict_set_item(archive.get(), "$top", top.release());
    plist_dict_set_item(archive.get(), "$objects", objects.release());

    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(archive.get(), &bytes, &length);
    std::vector<std::uint8_t> out(bytes, bytes + length);
    plist_to_bin_free(bytes);
    return out;
}

std::uint64_t Archiver::add(const Value& value) {
    switch (value.kind()) {
    case ValueKind::String:
        return addString(*value.asString());
    case ValueKind::Integer:
        // A negative number becomes 8 bytes of two's complement, as the platform writes it.
        return addObject(plist_new_uint(static_cast<std::uint64_t>(*value.asInteger())));
    case ValueKind::Boolean:
        return addObject(plist_new_bool(*value.asBoolean() ? 1 : 0));
    case ValueKind::Real:
        return addObject(plist_new_real(*value.asReal()));
    case ValueKind::Array:
        return addArray(*value.asArray());
    case ValueKind::Dictionary:
        return addDictionary(*value.asDictionary());
    case ValueKind::Data: {
        const std::vector<std::uint8_t>& bytes = value.asData()->bytes;
        return addInstance(
            "NS.data", plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
            kMutableData);
    }
    case ValueKind::Date:
        return addInstance("NS.time", plist_new_real(value.asDate()->sinceReferenceDate), kDate);
    }
    return 0;
}

std::uint64_t Archiver::addObject(plist_t object) {
    m_objects.emplace_back(object);
    return m_objects.size() - 1;
}

// "$null" is never shared with a string of that text: UID 0 means nil.
std::uint64_t Archiver::addString(const std::string& text) {
    const auto [it, inserted] = m_strings.try_emplace(text, m_objects.size());
    if (inserted) {
        addObject(newString(text));
    }
    return it->second;
}

std::uint64_t Archiver::addArray(const Array& array) {
    const std::uint64_t uid = addObject(nullptr);
    PlistPtr objects(plist_new_array());
    for (const Value& element : array) {
        plist_array_append_item(objects.get(), plist_new_uid(add(element)));
    }
    PlistPtr fields(plist_new_dict());
    plist_dict_set_item(fields.get(), "NS.objects", objects.release());
    complete(uid, std::move(fields), kMutableArray);
    return uid;
}

std::uint64_t Archiver::addDictionary(const Dictionary& dictionary) {
    const std::uint64_t uid = addObject(nullptr);
    PlistPtr keys(plist_new_array());
    for (const auto& entry : dictionary) {
        plist_array_append_item(keys.get(), plist_new_uid(addString(entry.first)));
    }
    PlistPtr objects(plist_new_array());
    for (const auto& entry : dictionary) {
        plist_array_append_item(objects.get(), plist_new_uid(add(entry.second)));
    }
    PlistPtr fields(plist_new_dict());
    plist_dict_set_item(fields.get(), "NS.keys", keys.release());
    plist_dict_set_item(fields.get(), "NS.objects", objects.release());
    complete(uid, std::move(fields), kMutableDictionary);
    return uid;
}

std::uint64_t Archiver::addInstance(const char* field, plist_t value, ClassChain chain) {
    const std::uint64_t uid = addObject(nullptr);
    PlistPtr fields(plist_new_dict());
    plist_dict_set_item(fields.get(), field, value);
    complete(uid, std::move(fields), chain);
    return uid;
}

void Archiver::complete(std::uint64_t uid, PlistPtr fields, ClassChain chain) {
    const auto [it, inserted] = m_classes.try_emplace(chain.front(), m_objects.size());
    if (inserted) {
        PlistPtr classes(plist_new_array());
        for (const char* name : chain) {
            plist_array_append_item(classes.get(), plist_new_string(name));
        }
        PlistPtr description(plist_new_dict());
        plist_dict_set_item(description.get(), "$classname", plist_new_string(chain.front()));
        plist_dict_set_item(description.get(), "$classes", classes.release());
        addObject(description.release());
    }
    plist_dict_set_item(fields.get(), "$class", plist_new_uid(it->second));
    m_objects[uid] = std::move(fields);
}

// ---------------------------------------------------------------------------------------------
// Reading

using Object = BinaryPlistReader::Object;
using Type = BinaryPlistReader::Type;

// An archived object of a class read here has at most four fields; looking fields up is linear,
// so a bound keeps a hostile object from costing time per reference to it.
constexpr std::uint64_t kMaxFields = 16;

// Estimated memory of one decoded value besides its text and data.
constexpr std::uint64_t kValueCost = 64;

Error corrupt(std::string message) {
    return Error{ErrorCode::Corrupt, std::move(message)};
}
Error unsupported(std::string message) {
    return Error{ErrorCode::Unsupported, std::move(message)};
}
Error tooLarge() {
    return unsupported("the archive expands to more than its size allows");
}

std::string withArticle(ValueKind kind) {
    const std::string name = kindName(kind);
    return (name.find_first_of("aeiou") == 0 ? "an " : "a ") + name;
}

// The classes read here, by what they decode to.
enum class ArchivedClass { Map, List, Text, Bytes, Time, Url };

std::optional<ArchivedClass> classNamed(std::string_view name) {
    static constexpr std::pair<std::string_view, ArchivedClass> kClasses[] = {
        {"NSDictionary", ArchivedClass::Map},  {"NSMutableDictionary", ArchivedClass::Map},
        {"NSArray", ArchivedClass::List},      {"NSMutableArray", ArchivedClass::List},
        {"NSSet", ArchivedClass::List},        {"NSMutableSet", ArchivedClass::List},
        {"NSOrderedSet", ArchivedClass::List}, {"NSMutableOrderedSet", ArchivedClass::List},
        {"NSString", ArchivedClass::Text},     {"NSMutableString", ArchivedClass::Text},
        {"NSData", ArchivedClass::Bytes},      {"NSMutableData", ArchivedClass::Bytes},
        {"NSDate", ArchivedClass::Time},       {"NSURL", ArchivedClass::Url},
    };
    for (const auto& [className, archivedClass] : kClasses) {
        if (className == name) {
            return archivedClass;
        }
    }
    return std::nullopt;
}

// Type::AsciiString stands for a string of either encoding.
bool hasType(const Object& object, Type type) {
    return type == Type::AsciiString ? object.isString() : object.type == type;
}

// The value under key in a property-list dictionary, or nullopt.
Result<std::optional<Object>> field(const BinaryPlistReader& plist, const Object& dictionary,
                                    std::string_view key) {
    for (std::uint64_t i = 0; i < dictionary.count; ++i) {
        Result<Object> candidate = plist.object(plist.element(dictionary, i));
        if (!candidate) {
            return candidate.error();
        }
        if (!candidate->isString()) {
            return corrupt("a dictionary of the property list has a key that is not a string");
        }
        if (BinaryPlistReader::equals(*candidate, key)) {
            Result<Object> value = plist.object(plist.element(dictionary, dictionary.count + i));
            if (!value) {
                return value.error();
            }
            return std::optional<Object>(*value);
        }
    }
    return std::optional<Object>();
}

Result<Object> requiredField(const BinaryPlistReader& plist, const Object& dictionary,
                             std::string_view key, Type type) {
    Result<std::optional<Object>> found = field(plist, dictionary, key);
    if (!found) {
        return found.error();
    }
    if (!*found || !hasType(**found, type)) {
        return corrupt("\"" + std::string(key) + "\" is missing or of the wrong type");
    }
    return **found;
}

// A relative URL resolved against its base for the forms an archived NSURL holds: an absolute
// one stands alone, one starting with "/" replaces the base's path, any other replaces the
// base's last path segment. Dot segments are left as they are.
std::string resolveUrl(std::string_view base, std::string_view relative) {
    const auto schemeEnd = relative.find(':');
    if (schemeEnd != std::string_view::npos && schemeEnd < relative.find_first_of("/?#")) {
        return std::string(relative);
    }
    base = base.substr(0, base.find_first_of("?#"));
    const auto authority = base.find("://");
    const auto pathStart = authority == std::string_view::npos ? 0 : base.find('/', authority + 3);
    if (pathStart == std::string_view::npos) {
        return std::string(base) + (relative.starts_with('/') ? "" : "/") + std::string(relative);
    }
    if (relative.starts_with('/')) {
        return std::string(base.substr(0, pathStart)) + std::string(relative);
    }
    return std::string(base.substr(0, base.rfind('/') + 1)) + std::string(relative);
}

// Decodes objects by UID from $objects, following references depth-first. Shared objects are
// decoded wherever they occur, so the work is bounded by a budget and by kMaxDepth rather than
// by the size of the archive.
class Unarchiver {
public:
    Unarchiver(BinaryPlistReader plist, Object objects, std::uint64_t budget)
        : m_plist(plist)
        , m_objects(objects)
        , m_budget(budget)
        , m_onPath(static_cast<std::size_t>(objects.count), false) {}

    Result<Value> decode(std::uint64_t uid, int depth);

private:
    Result<Value> decodePlain(const Object& object);
    Result<Value> decodeInstance(std::uint64_t uid, const Object& fields, int depth);
    Result<Value> decodeFields(ArchivedClass archivedClass, const Object& fields, int depth);
    Result<Value> decodeDictionary(const Object& fields, int depth);
    Result<Value> decodeArray(const Object& fields, int depth);
    Result<Value> decodeUrl(const Object& fields, int depth);
    Result<std::string> decodeString(std::uint64_t uid, int depth);
    Result<ArchivedClass> classOf(const Object& fields);
    Result<std::uint64_t> uidAt(const Object& container, std::uint64_t n) const;
    Result<Object> required(const Object& fields, std::string_view key, Type type) const {
        return requiredField(m_plist, fields, key, type);
    }
    bool charge(std::uint64_t cost);

    BinaryPlistReader m_plist;
    Object m_objects;
    std::uint64_t m_budget;
    std::vector<bool> m_onPath;
    std::unordered_map<std::uint64_t, ArchivedClass> m_classes;
};

Result<Value> Unarchiver::decode(std::uint64_t uid, int depth) {
    if (depth > kMaxDepth) {
        return unsupported("collections nest deeper than " + std::to_string(kMaxDepth) + " levels");
    }
    if (uid == 0) {
        return corrupt("a collection holds nil");
    }
    if (uid >= m_objects.count) {
        return corrupt("UID " + std::to_string(uid) + " points past the " +
                       std::to_string(m_objects.count) + " archived objects");
    }
    Result<Object> object = m_plist.object(m_plist.element(m_objects, uid));
    if (!object) {
        return object.error();
    }
    if (object->type != Type::Dictionary) {
        return decodePlain(*object);
    }
    if (!charge(kValueCost)) {
        return tooLarge();
    }
    return decodeInstance(uid, *object, depth);
}

// A value stored as a property-list object of its own: in $objects, or inline in NS.string
// and NS.data.
Result<Value> Unarchiver::decodePlain(const Object& object) {
    const bool payload = object.type == Type::Data || object.isString();
    if (!charge(kValueCost + (payload ? object.bytes.size() : 0))) {
        return tooLarge();
    }
    switch (object.type) {
    case Type::Boolean:
        return Value(object.integer != 0);
    case Type::Integer:
        return Value(object.integer);
    case Type::Real:
        return Value(object.real);
    case Type::Date:
        return Value(velmora::Date{object.real});
    case Type::Data:
        return Value(velmora::Data{{object.bytes.begin(), object.bytes.end()}});
    case Type::AsciiString:
    case Type::Utf16String: {
        Result<std::string> text = BinaryPlistReader::text(object);
        if (!text) {
            return text.error();
        }
        return Value(std::move(*text));
    }
    default:
        return corrupt("an archived object is not a value");
    }
}

Result<Value> Unarchiver::decodeInstance(std::uint64_t uid, const Object& fields, int depth) {
    if (fields.count > kMaxFields) {
        return unsupported("archived object " + std::to_string(uid) + " has " +
                           std::to_string(fields.count) + " fields, more than any class read here");
    }
    Result<ArchivedClass> archivedClass = classOf(fields);
    if (!archivedClass) {
        return archivedClass.error();
    }
    const auto slot = static_cast<std::size_t>(uid);
    if (m_onPath[slot]) {
        return corrupt("archived object " + std::to_string(uid) + " contains itself");
    }
    m_onPath[slot] = true;
    Result<Value> value = decodeFields(*archivedClass, fields, depth);
    m_onPath[slot] = false;
    return value;
}

Result<Value> Unarchiver::decodeFields(ArchivedClass archivedClass, const Object& fields,
                                       int depth) {
    switch (archivedClass) {
    case ArchivedClass::Map:
        return decodeDictionary(fields, depth);
    case ArchivedClass::List:
        return decodeArray(fields, depth);
    case ArchivedClass::Url:
        return decodeUrl(fields, depth);
    case ArchivedClass::Text: {
        Result<Object> string = required(fields, "NS.string", Type::AsciiString);
        return string ? decodePlain(*string) : string.error();
    }
    case ArchivedClass::Bytes: {
        Result<Object> data = required(fields, "NS.data", Type::Data);
        return data ? decodePlain(*data) : data.error();
    }
    case ArchivedClass::Time: {
        Result<Object> time = required(fields, "NS.time", Type::Real);
        if (!time) {
            return time.error();
        }
        return Value(velmora::Date{time->real});
    }
    }
    return corrupt("unknown class");
}

Result<Value> Unarchiver::decodeDictionary(const Object& fields, int depth) {
    Result<Object> keys = required(fields, "NS.keys", Type::Array);
    Result<Object> objects = required(fields, "NS.objects", Type::Array);
    if (!keys || !objects) {
        return keys ? objects.error() : keys.error();
    }
    if (keys->count != objects->count) {
        return corrupt("a dictionary has " + std::to_string(keys->count) + " keys and " +
                       std::to_string(objects->count) + " values");
    }
    // A key that occurs twice keeps its first place and takes its last value, as setting it
    // twice would; the index keeps that linear.
    std::vector<Dictionary::Entry> entries;
    std::unordered_map<std::string, std::size_t> index;
    for (std::uint64_t i = 0; i < keys->count; ++i) {
        Result<std::uint64_t> keyUid = uidAt(*keys, i);
        Result<Value> key = keyUid ? decode(*keyUid, depth + 1) : Result<Value>(keyUid.error());
        if (!key) {
            return key.error();
        }
        if (!key->asString()) {
            return unsupported("a dictionary key is " + withArticle(key->kind()) +
                               ", not a string");
        }
        Result<std::uint64_t> valueUid = uidAt(*objects, i);
        Result<Value> value =
            valueUid ? decode(*valueUid, depth + 1) : Result<Value>(valueUid.error());
        if (!value) {
            return value.error();
        }
        const auto [slot, added] = index.try_emplace(*key->asString(), entries.size());
        if (added) {
            entries.emplace_back(std::move(*key->asString()), std::move(*value));
        } else {
            entries[slot->second].second = std::move(*value);
        }
    }
    Dictionary dictionary;
    for (Dictionary::Entry& entry : entries) {
        dictionary.appendUnchecked(std::move(entry.first), std::move(entry.second));
    }
    return Value(std::move(dictionary));
}

Result<Value> Unarchiver::decodeArray(const Object& fields, int depth) {
    Result<Object> objects = required(fields, "NS.objects", Type::Array);
    if (!objects) {
        return objects.error();
    }
    Array array;
    for (std::uint64_t i = 0; i < objects->count; ++i) {
        Result<std::uint64_t> uid = uidAt(*objects, i);
        Result<Value> element = uid ? decode(*uid, depth + 1) : Result<Value>(uid.error());
        if (!element) {
            return element.error();
        }
        array.push_back(std::move(*element));
    }
    return Value(std::move(array));
}

// NS.base is nil (UID 0) for an absolute URL, or the URL the relative part is relative to.
Result<Value> Unarchiver::decodeUrl(const Object& fields, int depth) {
    Result<Object> relativeUid = required(fields, "NS.relative", Type::Uid);
    if (!relativeUid) {
        return relativeUid.error();
    }
    Result<std::string> relative = decodeString(relativeUid->uid, depth + 1);
    Result<std::optional<Object>> baseUid = field(m_plist, fields, "NS.base");
    if (!relative || !baseUid) {
        return relative ? baseUid.error() : relative.error();
    }
    if (!*baseUid || (*baseUid)->type != Type::Uid || (*baseUid)->uid == 0) {
        return Value(std::move(*relative));
    }
    Result<std::string> base = decodeString((*baseUid)->uid, depth + 1);
    if (!base) {
        return base.error();
    }
    return Value(resolveUrl(*base, *relative));
}

Result<std::string> Unarchiver::decodeString(std::uint64_t uid, int depth) {
    Result<Value> value = decode(uid, depth);
    if (!value) {
        return value.error();
    }
    if (!value->asString()) {
        return corrupt("a string was expected, not " + withArticle(value->kind()));
    }
    return std::move(*value->asString());
}

Result<ArchivedClass> Unarchiver::classOf(const Object& fields) {
    Result<Object> reference = required(fields, "$class", Type::Uid);
    if (!reference) {
        return reference.error();
    }
    if (const auto cached = m_classes.find(reference->uid); cached != m_classes.end()) {
        return cached->second;
    }
    if (reference->uid == 0 || reference->uid >= m_objects.count) {
        return corrupt("a $class UID is nil or out of range");
    }
    Result<Object> description = m_plist.object(m_plist.element(m_objects, reference->uid));
    if (!description) {
        return description.error();
    }
    if (description->type != Type::Dictionary) {
        return corrupt("a class description is not a dictionary");
    }
    Result<Object> name = required(*description, "$classname", Type::AsciiString);
    Result<Object> chain = required(*description, "$classes", Type::Array);
    if (!name || !chain) {
        return name ? chain.error() : name.error();
    }
    Result<std::string> className = BinaryPlistReader::text(*name);
    if (!className) {
        return className.error();
    }
    const std::optional<ArchivedClass> archivedClass = classNamed(*className);
    if (!archivedClass) {
        return unsupported("objects of class " + *className + " are not read here");
    }
    m_classes.emplace(reference->uid, *archivedClass);
    return *archivedClass;
}

Result<std::uint64_t> Unarchiver::uidAt(const Object& container, std::uint64_t n) const {
    Result<Object> reference = m_plist.object(m_plist.element(container, n));
    if (!reference) {
        return reference.error();
    }
    if (reference->type != Type::Uid) {
        return corrupt("a collection holds an element that is not a UID");
    }
    return reference->uid;
}

bool Unarchiver::charge(std::uint64_t cost) {
    if (cost > m_budget) {
        return false;
    }
    m_budget -= cost;
    return true;
}

// The UID of the root: $top's entry named key, else "root", else $top's only entry.
Result<std::uint64_t> rootUid(const BinaryPlistReader& plist, const Object& top,
                              std::optional<std::string_view> key) {
    Result<std::optional<Object>> entry = field(plist, top, key.value_or("root"));
    if (!entry) {
        return entry.error();
    }
    if (!*entry && !key && top.count == 1) {
        Result<Object> only = plist.object(plist.element(top, 1));
        if (!only) {
            return only.error();
        }
        *entry = *only;
    }
    if (!*entry) {
        return corrupt("$top holds no root object");
    }
    if ((*entry)->type != Type::Uid) {
        return corrupt("the root object in $top is not a UID");
    }
    if ((*entry)->uid == 0) {
        return unsupported("the archive's root object is nil");
    }
    return (*entry)->uid;
}

Result<Value> decodeArchive(std::span<const std::uint8_t> bytes,
                            std::optional<std::string_view> topKey) {
    Result<BinaryPlistReader> plist = BinaryPlistReader::open(bytes);
    if (!plist) {
        return plist.error();
    }
    Result<Object> archive = plist->object(plist->topIndex());
    if (!archive) {
        return archive.error();
    }
    if (archive->type != Type::Dictionary) {
        return corrupt("the property list is not a keyed archive");
    }
    Result<Object> archiver = requiredField(*plist, *archive, "$archiver", Type::AsciiString);
    Result<Object> version = requiredField(*plist, *archive, "$version", Type::Integer);
    if (!archiver || !version) {
        return archiver ? version.error() : archiver.error();
    }
    if (!BinaryPlistReader::equals(*archiver, kArchiverName) ||
        version->integer != static_cast<std::int64_t>(kArchiveVersion)) {
        return unsupported("not an archive of NSKeyedArchiver version 100000");
    }
    Result<Object> objects = requiredField(*plist, *archive, "$objects", Type::Array);
    Result<Object> top = requiredField(*plist, *archive, "$top", Type::Dictionary);
    if (!objects || !top) {
        return objects ? top.error() : objects.error();
    }
    Result<std::uint64_t> root = rootUid(*plist, *top, topKey);
    if (!root) {
        return root.error();
    }
    const std::uint64_t budget = (std::uint64_t{1} << 20) + kValueCost * bytes.size();
    Unarchiver unarchiver(*plist, *objects, budget);
    return unarchiver.decode(*root, 0);
}

} // namespace

std::vector<std::uint8_t> encode(const Value& root) {
    return Archiver().archive(root);
}

Result<Value> decode(std::span<const std::uint8_t> bytes) {
    return decodeArchive(bytes, std::nullopt);
}

Result<Value> decode(std::span<const std::uint8_t> bytes, std::string_view topKey) {
    return decodeArchive(bytes, topKey);
}

Result<Dictionary> decodeDictionary(std::span<const std::uint8_t> bytes) {
    Result<Value> root = decode(bytes);
    if (!root) {
        return root.error();
    }
    if (Dictionary* dictionary = root->asDictionary()) {
        return std::move(*dictionary);
    }
    return Error{ErrorCode::Invalid, "the archive's root object is " + withArticle(root->kind()) +
                                         ", not a dictionary"};
}

} // namespace velmora::keyed_archive
