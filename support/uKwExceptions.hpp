// The exception bases and the registry that maps (category, code) to an exception class.
//
// An exception class is described by a constant record (TKwExceptionClass) that knows its name, its parent and how to
// make one: the run-time class reference that C++ lacks. EKwException and EKwAbort are siblings on purpose: an
// application's catch of errors does not catch a user's Cancel.
#pragma once

#include "support/uKwFormat.hpp"
#include "support/uKwText.hpp"

#include <cstdint>
#include <exception>
#include <memory>
#include <string>

namespace deftmapi
{

class EKwExceptionBase;

/// A class reference.
struct TKwExceptionClass
{
    const char16_t* Name;            ///< "EMAPI_NOT_FOUND"
    const TKwExceptionClass* Parent; ///< null for a root
    std::unique_ptr<EKwExceptionBase> (*Create)(WideString message, std::int32_t errorCode);

    /// True when this class is `other` or derives from it.
    [[nodiscard]] bool InheritsFrom(const TKwExceptionClass& other) const noexcept
    {
        for (const TKwExceptionClass* c = this; c != nullptr; c = c->Parent)
            if (c == &other)
                return true;
        return false;
    }
};

/// What every exception of the library carries: a message and a signed 32-bit code.
class DEFTMAPI_API EKwExceptionBase : public std::exception
{
public:
    EKwExceptionBase(WideString message, std::int32_t errorCode);
    ~EKwExceptionBase() override;
    EKwExceptionBase(const EKwExceptionBase&) = default;
    EKwExceptionBase& operator=(const EKwExceptionBase&) = default;

    [[nodiscard]] const WideString& Message() const noexcept { return FMessage; }
    [[nodiscard]] std::int32_t ErrorCode() const noexcept { return FErrorCode; }
    /// The message in UTF-8.
    [[nodiscard]] const char* what() const noexcept override { return FWhat.c_str(); }
    [[nodiscard]] virtual const TKwExceptionClass& ClassType() const noexcept = 0;
    /// Throws a copy of this object with its own dynamic type.
    [[noreturn]] void Raise() const
    {
        DoRaise();
        std::terminate(); // not reached: compilers do not see that a virtual function never returns
    }

protected:
    [[noreturn]] virtual void DoRaise() const = 0;

private:
    WideString FMessage;
    std::string FWhat;
    std::int32_t FErrorCode;
};

// Declares the members that every concrete class repeats. Base is the direct base; the class record is named
// <Class>::Class(). Used between the class's braces, public part.
#define DEFTMAPI_EXCEPTION(Self, Base)                                                                                 \
public:                                                                                                                \
    Self(::deftmapi::WideString message, std::int32_t errorCode) : Base(std::move(message), errorCode) {}              \
    Self(::deftmapi::WideView format, std::initializer_list<::deftmapi::TKwFormatArg> args, std::int32_t errorCode)    \
        : Base(::deftmapi::KwFormat(format, args), errorCode)                                                          \
    {}                                                                                                                 \
    static const ::deftmapi::TKwExceptionClass& Class() noexcept;                                                      \
    const ::deftmapi::TKwExceptionClass& ClassType() const noexcept override                                           \
    {                                                                                                                  \
        return Class();                                                                                                \
    }                                                                                                                  \
    [[noreturn]] void DoRaise() const override                                                                         \
    {                                                                                                                  \
        throw *this;                                                                                                   \
    }

// Defines the class record of a class that was declared with DEFTMAPI_EXCEPTION; ParentClass is the address of the
// parent's record or nullptr. Used in namespace scope of the class, in one source.
#define DEFTMAPI_EXCEPTION_CLASS(Self, ParentClass)                                                                    \
    const ::deftmapi::TKwExceptionClass& Self::Class() noexcept                                                        \
    {                                                                                                                  \
        static const ::deftmapi::TKwExceptionClass record{                                                             \
            u"" #Self, ParentClass,                                                                                    \
            [](::deftmapi::WideString message,                                                                         \
               std::int32_t errorCode) -> std::unique_ptr<::deftmapi::EKwExceptionBase> {                              \
                return std::make_unique<Self>(std::move(message), errorCode);                                          \
            }};                                                                                                        \
        return record;                                                                                                 \
    }

/// An error.
class DEFTMAPI_API EKwException : public EKwExceptionBase
{
    DEFTMAPI_EXCEPTION(EKwException, EKwExceptionBase)
};

/// A silent abort: the application's top level does not report it.
class DEFTMAPI_API EKwAbort : public EKwExceptionBase
{
    DEFTMAPI_EXCEPTION(EKwAbort, EKwExceptionBase)
};

/// A conversion (text to number, variant to type, pattern) that cannot be done.
class DEFTMAPI_API EKwConvertError : public EKwException
{
    DEFTMAPI_EXCEPTION(EKwConvertError, EKwException)
};

/// An index outside a list.
class DEFTMAPI_API EKwListError : public EKwException
{
    DEFTMAPI_EXCEPTION(EKwListError, EKwException)
};

/// A broken internal invariant; the message names the unit.
class DEFTMAPI_API EKwAssertionFailed : public EKwException
{
    DEFTMAPI_EXCEPTION(EKwAssertionFailed, EKwException)
};

/// Raises EKwAssertionFailed with "message (unit)" when the condition does not hold.
DEFTMAPI_API void KwAssert(bool condition, WideView message, WideView unit);

// The registry. Filled before the library's first use; afterwards read by any thread without a lock.

/// Registers a class for (category, code). A second registration of the pair replaces the first.
DEFTMAPI_API void KwRegisterExceptionClass(WideView category, std::int32_t code,
                                           const TKwExceptionClass& exceptionClass);
/// The class registered for (category, code); with inherited true the category's base class when there is none.
/// Null when there is neither.
[[nodiscard]] DEFTMAPI_API const TKwExceptionClass* KwGetExceptionClass(WideView category, std::int32_t code,
                                                                        bool inherited);
/// The class that stands for codes of the category that have no class of their own.
DEFTMAPI_API void KwRegisterExceptionBase(WideView category, const TKwExceptionClass& exceptionClass);
/// Creates (does not raise) an exception of the class registered for (category, code), else of the category's base
/// class.
[[nodiscard]] DEFTMAPI_API std::unique_ptr<EKwExceptionBase> KwCreateException(WideView category, std::int32_t code,
                                                                               WideString message);
[[nodiscard]] DEFTMAPI_API std::unique_ptr<EKwExceptionBase>
KwCreateException(WideView category, std::int32_t code, WideView format, std::initializer_list<TKwFormatArg> args);

} // namespace deftmapi
