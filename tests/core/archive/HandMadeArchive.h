#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::test {

using Bytes = std::vector<std::uint8_t>;

// A binary property list written object by object, so that a test can make what no archiver
// would: references out of range, cycles, deep nesting, odd integer widths. References and
// offsets are 2 bytes wide.
class RawPlist {
public:
    using Ref = std::size_t;

    Ref add(Bytes object) {
        m_objects.push_back(std::move(object));
        return m_objects.size() - 1;
    }
    Ref string(std::string_view ascii) {
        Bytes object = header(0x50, ascii.size());
        object.insert(object.end(), ascii.begin(), ascii.end());
        return add(std::move(object));
    }
    Ref integer(std::uint8_t value) { return add({0x10, value}); }
    Ref uid(std::uint16_t value) {
        return add({0x81, static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
    }
    Ref array(const std::vector<Ref>& elements) {
        Bytes object = header(0xA0, elements.size());
        appendRefs(object, elements);
        return add(std::move(object));
    }
    Ref dictionary(const std::vector<std::pair<Ref, Ref>>& entries) {
        Bytes object = header(0xD0, entries.size());
        for (const auto& entry : entries) {
            appendRefs(object, {entry.first});
        }
        for (const auto& entry : entries) {
            appendRefs(object, {entry.second});
        }
        return add(std::move(object));
    }
    // A dictionary with string keys.
    Ref fields(const std::vector<std::pair<std::string_view, Ref>>& entries) {
        std::vector<std::pair<Ref, Ref>> refs;
        for (const auto& [key, value] : entries) {
            refs.emplace_back(string(key), value);
        }
        return dictionary(refs);
    }

    Bytes bytes(Ref top) const {
        Bytes out{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
        std::vector<Ref> offsets;
        for (const Bytes& object : m_objects) {
            offsets.push_back(out.size());
            out.insert(out.end(), object.begin(), object.end());
        }
        const std::size_t tableOffset = out.size();
        appendRefs(out, offsets);
        out.insert(out.end(), 6, 0);
        out.push_back(2); // offset size
        out.push_back(2); // reference size
        appendBigEndian(out, m_objects.size(), 8);
        appendBigEndian(out, top, 8);
        appendBigEndian(out, tableOffset, 8);
        return out;
    }

private:
    static Bytes header(std::uint8_t marker, std::size_t count) {
        if (count < 15) {
            return {static_cast<std::uint8_t>(marker | count)};
        }
        Bytes out{static_cast<std::uint8_t>(marker | 0x0F), 0x11};
        appendBigEndian(out, count, 2);
        return out;
    }
    static void appendRefs(Bytes& out, const std::vector<Ref>& refs) {
        for (const Ref ref : refs) {
            appendBigEndian(out, ref, 2);
        }
    }
    static void appendBigEndian(Bytes& out, std::uint64_t value, int width) {
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            out.push_back(static_cast<std::uint8_t>(value >> shift));
        }
    }

    std::vector<Bytes> m_objects;
};

// What a hand-made archive puts around its $objects.
struct ArchiveTop {
    std::string_view archiver = "NSKeyedArchiver";
    std::uint8_t version = 0; // 0: 100000
    std::string_view rootKey = "root";
    std::uint16_t root = 1;
    std::string_view otherKey;  // a second entry of $top, to the same object
    bool objectsSecond = false; // the order of older systems: $version, $objects, $archiver, $top
};

// A keyed archive assembled by hand: the test adds $objects entries one by one (UID order)
// and the archive is wrapped around them.
class HandMadeArchive {
public:
    using Ref = RawPlist::Ref;

    HandMadeArchive() { object(plist.string("$null")); }

    // Appends a property-list object to $objects; returns its UID.
    std::uint16_t object(Ref ref) {
        m_objects.push_back(ref);
        return static_cast<std::uint16_t>(m_objects.size() - 1);
    }
    Ref uid(std::uint16_t value) { return plist.uid(value); }
    Ref uids(const std::vector<std::uint16_t>& values) {
        std::vector<Ref> refs;
        for (const std::uint16_t value : values) {
            refs.push_back(plist.uid(value));
        }
        return plist.array(refs);
    }
    // A class description in $objects; returns its UID.
    std::uint16_t classNamed(std::string_view name) {
        return object(plist.fields(
            {{"$classname", plist.string(name)},
             {"$classes", plist.array({plist.string(name), plist.string("NSObject")})}}));
    }
    // An NSArray in $objects; returns its UID.
    std::uint16_t array(const std::vector<std::uint16_t>& elements, std::uint16_t classUid) {
        return object(plist.fields({{"NS.objects", uids(elements)}, {"$class", uid(classUid)}}));
    }

    Bytes bytes() { return bytes(ArchiveTop{}); }
    Bytes bytes(const ArchiveTop& top) {
        const Ref version =
            top.version ? plist.integer(top.version) : plist.add({0x12, 0x00, 0x01, 0x86, 0xA0});
        const Ref archiver = plist.string(top.archiver);
        const Ref topObjects = top.otherKey.empty()
                                   ? plist.fields({{top.rootKey, plist.uid(top.root)}})
                                   : plist.fields({{top.rootKey, plist.uid(top.root)},
                                                   {top.otherKey, plist.uid(top.root)}});
        const Ref objects = plist.array(m_objects);
        const Ref archive = top.objectsSecond ? plist.fields({{"$version", version},
                                                              {"$objects", objects},
                                                              {"$archiver", archiver},
                                                              {"$top", topObjects}})
                                              : plist.fields({{"$version", version},
                                                              {"$archiver", archiver},
                                                              {"$top", topObjects},
                                                              {"$objects", objects}});
        return plist.bytes(archive);
    }

    RawPlist plist;

private:
    std::vector<Ref> m_objects;
};

} // namespace velmora::test
