// What the tests of tables share: a table of numbered rows over a scripted IMAPITable, owned by a scripted property
// object.
#pragma once

#include "mapi/table/uKwMAPITable.hpp"
#include "tests/core/WrapperFixture.hpp"
#include "tests/table/ScriptedTable.hpp"

namespace deftmapi::test
{

class TTableTest : public TWrapperTest
{
protected:
    TTableTest() : Object(NewTable(45)), Table(KwMake<TKwMAPITable>(*Prop, Object.Get(), nullptr))
    {
        Number = Table->Get_Fields()->Add(PR_MESSAGE_SIZE);
    }

    /// Rows whose PR_MESSAGE_SIZE is 1, 2, …
    [[nodiscard]] TKwComPtr<TScriptedTable> NewTable(std::int32_t rows)
    {
        TKwComPtr<TScriptedTable> table(new TScriptedTable(Calls));
        table->Columns = {GetPropTag(PR_MESSAGE_SIZE)};
        for (std::int32_t i = 1; i <= rows; ++i)
            table->AddRow({LongValue(GetPropTag(PR_MESSAGE_SIZE), i)});
        return table;
    }
    /// Opens the table at its first row and forgets the calls.
    void Start()
    {
        Table->First();
        static_cast<void>(Calls->Take());
    }
    [[nodiscard]] std::int32_t Row() { return Number->Get_AsInteger(); }

    TKwComPtr<TScriptedTable> Object;
    TKwRef<TKwMAPITable> Table;
    TKwRef<IKwMAPITableField> Number;
};

} // namespace deftmapi::test
