#pragma once

// Naming an operation by its exact type is the check: what is not there, or is there in another form, does not compile,
// and what is not exported does not link.

#include <QMetaMethod>

#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace names
{

inline int namesSeen = 0;
inline int failures = 0;

inline void expect(bool condition, const std::string &what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what.c_str());
    ++failures;
}

/// Takes the address out of the compiler's sight, so that the linker has to find it.
template <typename Address>
void keep(Address address)
{
    volatile unsigned char byte = 0;
    unsigned char bytes[sizeof address];
    std::memcpy(bytes, &address, sizeof address);
    for (const unsigned char each : bytes)
        byte = each;
    (void)byte;
    ++namesSeen;
}

/// An operation, static function or field. The type is always spelled out, so that it picks one of several overloads.
template <typename Type>
void has(std::enable_if_t<true, Type> member)
{
    keep(member);
}

/// A constructor that takes exactly these arguments.
template <typename Class, typename... Arguments>
void constructs()
{
    static_assert(std::is_constructible_v<Class, Arguments...>);
    keep(+[](std::add_rvalue_reference_t<Arguments>... arguments) -> Class * {
        return new Class(static_cast<Arguments>(arguments)...);
    });
}

/// The class may be copied and moved, by construction and by assignment.
template <typename Class>
void copiesAndMoves()
{
    constructs<Class, const Class &>();
    constructs<Class, Class &&>();
    static_assert(std::is_copy_assignable_v<Class> && std::is_move_assignable_v<Class>);
}

/// The public fields of a record, named in their order.
template <typename Class>
class Fields
{
public:
    /// The next field, somewhere behind the last one.
    template <typename Type>
    Fields &has(std::enable_if_t<true, Type> Class::*field)
    {
        return take(placeOf(field) >= m_end, field);
    }

    /// The next field of a packed record, without a gap behind the last one.
    template <typename Type>
    Fields &next(std::enable_if_t<true, Type> Class::*field)
    {
        return take(placeOf(field) == m_end, field);
    }

private:
    /// The offset that the pointer holds: a field of a packed record may lie where no reference may point.
    template <typename Type>
    static std::size_t placeOf(Type Class::*field)
    {
        std::size_t place = 0;
        std::memcpy(&place, &field, sizeof field);
        return place;
    }

    template <typename Type>
    Fields &take(bool inPlace, Type Class::*field)
    {
        expect(inPlace, "a field stands out of its place: " + std::to_string(placeOf(field)));
        m_end = placeOf(field) + sizeof(Type);
        keep(field);
        return *this;
    }

    std::size_t m_end = 0;
};

/// An enumeration that streams and records can hold as a plain 32-bit integer.
template <typename Enumeration>
constexpr bool isPlainInt = std::is_enum_v<Enumeration> &&std::is_convertible_v<Enumeration, int>
    &&std::is_same_v<std::underlying_type_t<Enumeration>, int>;

template <typename Enumeration>
void hasValue(Enumeration enumerator, int value)
{
    static_assert(isPlainInt<Enumeration>);
    expect(enumerator == value, "an enumerator has not the value " + std::to_string(value));
    ++namesSeen;
}

/// The place of a virtual operation in its class: the first word of the pointer, where the C++ ABI says so.
template <typename Operation>
std::size_t slotOf(Operation operation)
{
    std::size_t slot = 0;
    std::memcpy(&slot, &operation, sizeof slot);
    return slot;
}

inline void expectAscending(const std::vector<std::size_t> &places, const std::string &what)
{
#ifdef __GXX_ABI_VERSION
    for (std::size_t i = 1; i < places.size(); ++i)
        expect(places[i - 1] < places[i], what + ": virtual operation " + std::to_string(i) + " is out of order");
#else
    (void)places;
    (void)what;
#endif
}

/// The class's own meta-methods, all signals, each as "name(types)" and the names of its parameters.
inline void expectSignals(const QMetaObject &meta, const std::vector<std::string> &wanted)
{
    const std::string name = meta.className();
    expect(meta.methodCount() - meta.methodOffset() == static_cast<int>(wanted.size()),
           name + " has another number of signals and slots");
    expect(meta.propertyOffset() == meta.propertyCount(), name + " has properties");
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + static_cast<int>(i));
        std::string found = method.methodSignature().toStdString();
        for (const QByteArray &parameter : method.parameterNames())
            found += parameter.isEmpty() ? std::string() : " " + parameter.toStdString();
        expect(method.methodType() == QMetaMethod::Signal && method.access() == QMetaMethod::Public,
               found + " is no public signal");
        expect(found == wanted[i], name + " has " + found + " in place of " + wanted[i]);
    }
}

void vectors();
void boundingVolumes();
void quaternions();
void matrices();
void pointArrays();
void readers();
void lasFiles();
void dataSets();
void control();
void volumes();

} // namespace names
