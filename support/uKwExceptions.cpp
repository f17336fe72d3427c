// The exception bases and the class registry. The registry is a plain map without a lock: it is filled before the
// library's first use.
#include "support/uKwExceptions.hpp"

#include <map>
#include <utility>

namespace deftmapi
{

namespace
{

constexpr auto sAssertionFormat = u"%s (%s)";
constexpr std::int32_t unexpected = static_cast<std::int32_t>(0x8000FFFF);

struct TRegistry
{
    std::map<std::pair<WideString, std::int32_t>, const TKwExceptionClass*> Classes;
    std::map<WideString, const TKwExceptionClass*, std::less<>> Bases;
};

TRegistry& Registry()
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TRegistry& registry = *new TRegistry;
    return registry;
}

} // namespace

EKwExceptionBase::EKwExceptionBase(WideString message, std::int32_t errorCode)
    : FMessage(std::move(message)), FWhat(KwToUtf8(FMessage)), FErrorCode(errorCode)
{}

EKwExceptionBase::~EKwExceptionBase() = default;

DEFTMAPI_EXCEPTION_CLASS(EKwException, nullptr)
DEFTMAPI_EXCEPTION_CLASS(EKwAbort, nullptr)
DEFTMAPI_EXCEPTION_CLASS(EKwConvertError, &EKwException::Class())
DEFTMAPI_EXCEPTION_CLASS(EKwListError, &EKwException::Class())
DEFTMAPI_EXCEPTION_CLASS(EKwAssertionFailed, &EKwException::Class())

void KwAssert(bool condition, WideView message, WideView unit)
{
    if (!condition)
        throw EKwAssertionFailed(sAssertionFormat, {message, unit}, unexpected);
}

void KwRegisterExceptionClass(WideView category, std::int32_t code, const TKwExceptionClass& exceptionClass)
{
    Registry().Classes[{WideString(category), code}] = &exceptionClass;
}

void KwRegisterExceptionBase(WideView category, const TKwExceptionClass& exceptionClass)
{
    Registry().Bases[WideString(category)] = &exceptionClass;
}

const TKwExceptionClass* KwGetExceptionClass(WideView category, std::int32_t code, bool inherited)
{
    const TRegistry& registry = Registry();
    const auto found = registry.Classes.find({WideString(category), code});
    if (found != registry.Classes.end())
        return found->second;
    if (!inherited)
        return nullptr;
    const auto base = registry.Bases.find(category);
    return base != registry.Bases.end() ? base->second : nullptr;
}

std::unique_ptr<EKwExceptionBase> KwCreateException(WideView category, std::int32_t code, WideString message)
{
    const TKwExceptionClass* exceptionClass = KwGetExceptionClass(category, code, true);
    if (exceptionClass == nullptr)
        exceptionClass = &EKwException::Class();
    return exceptionClass->Create(std::move(message), code);
}

std::unique_ptr<EKwExceptionBase> KwCreateException(WideView category, std::int32_t code, WideView format,
                                                    std::initializer_list<TKwFormatArg> args)
{
    return KwCreateException(category, code, KwFormat(format, args));
}

} // namespace deftmapi
