// The property cache of one object: the properties that the application has touched, their values, and which of them
// are modified. All reading and writing of properties goes through it.
//
// Include mapi/core/uKwMAPIBase.hpp, which includes this file: items, cache and object refer to each other.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"

#include <optional>
#include <unordered_map>
#include <vector>

namespace deftmapi
{

class TKwMAPIPropItems;

/// One cached property. Its owner is the cache. An item that has left its cache (deleted, cleared, the object got
/// another MAPI object) fails as one whose object is gone; ask the object for the property anew.
class DEFTMAPI_API TKwMAPIPropItem final : public TKwMAPIObject, public virtual IKwMAPIProperty
{
public:
    /// @param info  the definition, or null when no definition is known for the tag
    /// @param name  what Get_PropName returns when there is no definition
    TKwMAPIPropItem(TKwMAPIPropItems& items, mapi::ULONG tag, const TKwMAPIPropInfo* info, WideString name);

    [[nodiscard]] WideString GetClassName() const override;
    void CheckActive(WideView methodName) const override;
    [[nodiscard]] bool DisableUnicode() const noexcept override;

    [[nodiscard]] mapi::ULONG Get_PropTag() override { return FTag; }
    [[nodiscard]] mapi::ULONG Get_DataType() const override { return mapi::PROP_TYPE(FTag); }
    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const override;
    /// The definition's name. Without a definition "0x6789001f", for a named property "{set}:name" or
    /// "{set}:0x00008502".
    [[nodiscard]] WideString Get_PropName() const override;
    /// Null when no definition is known.
    [[nodiscard]] const TKwMAPIPropInfo* Info() const noexcept { return FInfo; }

    /// Reads the value from the object on first access, whole. A value too large for GetProps is read through a stream
    /// (text and binary); use OpenBinProperty to avoid having it in memory. After a save that keeps the object open the
    /// value of an unmodified property is read again, since the provider may have computed it.
    /// @throws  what the property's own result code stands for, unless it says that there is no such property
    [[nodiscard]] TKwVariant Get_Value() override;
    /// Copies the value and builds its MAPI form. An interface in the variant must be an IKwMAPIValueList; its values
    /// are copied.
    /// @throws EKwConvertError, EMAPI_INVALID_PARAMETER  see TKwMAPIPropValue; the property is unchanged then
    void Set_Value(const TKwVariant& value) override;

    [[nodiscard]] WordBool GetModified() const noexcept override { return FModified; }
    void SetModified(WordBool modified) override;

    [[nodiscard]] std::int32_t Get_AsInteger() override;
    void Set_AsInteger(std::int32_t value) override;
    [[nodiscard]] std::int64_t Get_AsLargeInteger() override;
    void Set_AsLargeInteger(std::int64_t value) override;
    [[nodiscard]] WideString Get_AsString() override;
    void Set_AsString(WideView value) override;
    [[nodiscard]] std::string Get_AsStringA() override;
    void Set_AsStringA(std::string_view value) override;
    [[nodiscard]] WideString Get_AsStringW() override;
    void Set_AsStringW(WideView value) override;
    [[nodiscard]] WordBool Get_AsBoolean() override;
    void Set_AsBoolean(WordBool value) override;
    [[nodiscard]] TKwDate Get_AsDateTime() override;
    void Set_AsDateTime(TKwDate value) override;
    [[nodiscard]] mapi::SYSTEMTIME Get_AsSystemTime() override;
    void Set_AsSystemTime(const mapi::SYSTEMTIME& value) override;
    [[nodiscard]] double Get_AsFloat() override;
    void Set_AsFloat(double value) override;
    [[nodiscard]] mapi::GUID Get_AsGUID() override;
    void Set_AsGUID(const mapi::GUID& value) override;
    [[nodiscard]] TKwRef<IKwMAPIValueList> Get_AsList() override;
    void Set_AsList(IKwMAPIValueList& list) override;

    [[nodiscard]] const mapi::SPropValue& GetMAPIValue() override;
    void SetMAPIValue(const mapi::SPropValue& value) override;

    /// True when the object has the property; reads it when it was not read yet, but never a large value as a whole.
    [[nodiscard]] bool HasValue();

private:
    friend class TKwMAPIProp;
    friend class TKwMAPIPropItems;
    enum class TState
    {
        Unread,
        Known, ///< FValue counts; Empty when the object has no such property
        Large, ///< the object has the property, but GetProps does not give it
        Failed ///< FError is the property's own result
    };

    ~TKwMAPIPropItem() override;
    void Probe();
    void ReadLarge();
    void Load();
    /// REQUIRES: loaded. @throws EMAPI_INVALID_PARAMETER  the property is an object
    void RequireValue() const;
    void MarkModified();
    void Detach() noexcept;
    /// @param tag  what the object was asked for, which may be text of the other width than FTag says
    void Accept(const mapi::SPropValue& value, mapi::ULONG tag);
    void Forget() noexcept;
    [[nodiscard]] TKwMAPIPropItems& Items() const noexcept;
    [[nodiscard]] bool Deletes() const noexcept { return FValue.IsEmptyOrNull(); }

    mapi::ULONG FTag;
    mapi::ULONG FReadTag; // under which the object gave FState
    const TKwMAPIPropInfo* FInfo;
    WideString FName;
    TKwVariant FValue;
    std::optional<TKwMAPIPropValue> FMAPIValue;
    TState FState = TState::Unread;
    mapi::HRESULT FError = 0;
    bool FModified = false;
    bool FDetached = false;
};

/// The cache. Its owner is the object, whose end it learns of; it holds no reference on the object.
class DEFTMAPI_API TKwMAPIPropItems final : public TKwMAPIObject, public virtual IKwMAPIProperties
{
public:
    explicit TKwMAPIPropItems(TKwMAPIProp& prop);

    [[nodiscard]] WideString GetClassName() const override;
    void CheckActive(WideView methodName) const override;
    [[nodiscard]] bool DisableUnicode() const noexcept override;

    [[nodiscard]] std::int32_t Get_Count() override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> Get_Item(std::int32_t index) override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> PropByName(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> FindPropByTag(mapi::ULONG tag) override;
    [[nodiscard]] WordBool HasProp(TKwMAPIPropDef def) override;
    void DeleteProperty(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwRef<IKwMAPIProperty> FindPropByDef(TKwMAPIPropDef def) override;
    TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, WordBool create) override;
    TKwRef<IKwMAPIProperty> PropByTag(mapi::ULONG tag, const mapi::MAPINAMEID& nameID) override;
    TKwRef<IKwMAPIProperty> Add(TKwMAPIPropDef def) override;
    void Delete(std::int32_t index) override;
    void Clear() noexcept override;

    /// The item of a definition, created when it is not there. Definitions of one identity (PR_SUBJECT, PR_SUBJECT_W)
    /// share an item; text of the other width (PR_SUBJECT_A) is another one unless Unicode is disabled.
    [[nodiscard]] TKwRef<TKwMAPIPropItem> PropByName(const TKwMAPIPropInfo& info);
    /// The cached item, or null.
    [[nodiscard]] TKwMAPIPropItem* FindPropByDef(const TKwMAPIPropInfo& info);
    /// Marks the property for deletion at the next save.
    void DeleteProperty(const TKwMAPIPropInfo& info);

    /// True while an item is modified.
    [[nodiscard]] bool GetModified() const noexcept { return !FModified.empty(); }

private:
    friend class TKwMAPIProp;
    friend class TKwMAPIPropItem;

    ~TKwMAPIPropItems() override;
    [[nodiscard]] TKwMAPIProp& Prop() const noexcept;
    TKwMAPIPropItem& Append(mapi::ULONG tag, const TKwMAPIPropInfo* info, WideString name);
    [[nodiscard]] TKwRef<TKwMAPIPropItem> FindOrAdd(const TKwMAPIPropInfo& info, bool raiseOnUnknownName);
    [[nodiscard]] const TKwRef<TKwMAPIPropItem>& At(std::int32_t index) const;
    [[nodiscard]] static bool IsNamedTag(mapi::ULONG tag) noexcept;
    void UnnamedByTag(mapi::ULONG tag);
    /// @param problems  of the call that wrote them, null for none; an entry with S_OK is none
    void MarkWritten(const std::vector<TKwRef<TKwMAPIPropItem>>& written,
                     const mapi::SPropProblemArray* problems) noexcept;
    void ForgetUnmodified() noexcept;
    void ForgetTag(mapi::ULONG tag) noexcept;

    std::vector<TKwRef<TKwMAPIPropItem>> FItems;
    std::vector<TKwMAPIPropItem*> FModified; // in the order in which they became modified
    // FByDef remembers which item a handle led to; an item is in it once per handle asked for.
    std::unordered_map<TKwMAPIPropDef, TKwMAPIPropItem*> FByDef;
    std::unordered_map<mapi::ULONG, TKwMAPIPropItem*> FByTag;
};

} // namespace deftmapi
