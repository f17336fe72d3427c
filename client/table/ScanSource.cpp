// The order over rows that are visited one by one.
#include "client/store/PropertyTags.hpp"
#include "client/table/RowValues.hpp"
#include "client/table/VectorOrder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

/// Whether the tag means the value that a row shows: it names the property, and not as a multiple one.
bool IsOwnValue(ULONG tag, ULONG instances)
{
    return instances && tag >> 16 == instances >> 16 && (tag & mapi::MVI_FLAG) != mapi::MV_FLAG;
}

struct SortedRow
{
    RowKey key;
    std::uint32_t instance;
    Props values;
};

class ScanOrder final : public VectorOrder
{
public:
    ScanOrder(ScanSource& source, const TableView& view) : FSource(source), FView(view) {}

protected:
    std::int64_t Stamp() override { return FSource.Stamp(); }

    Rows Build() override
    {
        const std::size_t sorts = FView.sort.size();
        std::vector<ULONG> tags;
        for (const auto& sort : FView.sort)
            tags.push_back(sort.ulPropTag);
        std::optional<InstanceRestriction> restriction;
        if (FView.restriction) {
            restriction.emplace(FView.restriction, FView.instances);
            tags.insert(tags.end(), restriction->Tags().begin(), restriction->Tags().end());
        }
        if (FView.instances)
            tags.push_back(FView.instances);

        std::vector<SortedRow> rows;
        FSource.Scan(tags, [&](RowKey key, const Props& values) {
            const auto asked = values.begin() + static_cast<std::ptrdiff_t>(sorts);
            const std::size_t count = FView.instances ? std::max<std::size_t>(1, ElementsOf(values.back()).size()) : 1;
            for (std::uint32_t instance = 0; instance < count; ++instance) {
                if (restriction) {
                    Props own(asked, asked + static_cast<std::ptrdiff_t>(restriction->Tags().size()));
                    if (!restriction->Fits(instance, own))
                        continue;
                }
                Props keys(values.begin(), asked);
                TakeInstance(std::span(tags).first(sorts), FView.instances, instance, keys);
                std::for_each(keys.begin(), keys.end(), ShortenValue);
                rows.push_back({key, instance, std::move(keys)});
            }
        });
        std::stable_sort(rows.begin(), rows.end(),
                         [this](const auto& a, const auto& b) { return IsRowBefore(a.values, b.values, FView.sort); });
        Rows result;
        for (const SortedRow& row : rows) {
            result.keys.push_back(row.key);
            if (FView.instances)
                result.instances.push_back(row.instance);
        }
        return result;
    }

    void ReadRows(std::size_t first, std::size_t last, std::span<const ULONG> columns, RowSink& sink) override
    {
        Props values;
        for (std::size_t at = first; at < last; ++at) {
            if (!FSource.Fetch(KeyAt(at), columns, values))
                continue;
            TakeInstance(columns, FView.instances, InstanceAt(at), values);
            PutRow(values, sink);
        }
    }

    std::size_t FindFrom(std::size_t first, bool backward, const std::shared_ptr<const Restriction>& wanted) override
    {
        const InstanceRestriction restriction(wanted, FView.instances);
        Props values;
        const auto fits = [&](std::size_t at) {
            return FSource.Fetch(KeyAt(at), restriction.Tags(), values) && restriction.Fits(InstanceAt(at), values);
        };
        const auto count = static_cast<std::size_t>(Count());
        if (backward) {
            for (std::size_t at = first; at > 0; --at)
                if (fits(at - 1))
                    return at - 1;
            return count;
        }
        while (first < count && !fits(first))
            ++first;
        return first;
    }

private:
    ScanSource& FSource;
    TableView FView;
};

} // namespace

std::unique_ptr<RowOrder> ScanSource::Order(const TableView& view)
{
    return std::make_unique<ScanOrder>(*this, view);
}

void TakeInstance(std::span<const ULONG> columns, ULONG instances, std::uint32_t instance, Props& values)
{
    if (!instances)
        return;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const ULONG id = columns[i] >> 16;
        if (id == instances >> 16 && columns[i] & mapi::MV_INSTANCE) {
            auto elements = ElementsOf(values[i]);
            if (instance < elements.size())
                values[i] = std::move(elements[instance]);
        } else if (id == tag::InstanceKey >> 16) {
            if (auto* key = std::get_if<Bytes>(&values[i].data)) {
                for (int shift = 0; shift < 32; shift += 8)
                    key->push_back(static_cast<std::uint8_t>(instance >> shift));
            }
        }
    }
}

InstanceRestriction::InstanceRestriction(std::shared_ptr<const Restriction> restriction, ULONG instances)
    : FRestriction(std::move(restriction)), FInstances(instances)
{
    std::set<ULONG> tags;
    FRestriction->CollectTags(tags);
    FTags.assign(tags.begin(), tags.end());
    for (const ULONG tag : FTags)
        FShown.push_back(IsOwnValue(tag, instances) ? tag | mapi::MVI_FLAG : tag);
}

bool InstanceRestriction::Distinguishes(const Restriction& restriction, ULONG instances)
{
    std::set<ULONG> tags;
    restriction.CollectTags(tags);
    return instances && std::any_of(tags.begin(), tags.end(), [instances](ULONG tag) {
               return IsOwnValue(tag, instances) || tag >> 16 == tag::InstanceKey >> 16;
           });
}

bool InstanceRestriction::Fits(std::uint32_t instance, Props& values, const Restriction::SubRows& subRows) const
{
    TakeInstance(FShown, FInstances, instance, values);
    return FRestriction->Matches(
        [&](ULONG tag) -> const Prop& {
            return values[static_cast<std::size_t>(std::lower_bound(FTags.begin(), FTags.end(), tag) - FTags.begin())];
        },
        subRows);
}

} // namespace deftmapi::client
