// TKwMAPIMsgStoreParser: walks the folders of a store and reports every subfolder and every message.
//
//     TKwMAPIMsgStoreParser parser;
//     parser.OnParseMessage = [](TKwMAPIMsgStoreParser&, IKwMAPIMsgStore&, IKwMAPIFolder& folder,
//                                const TKwMAPIEntryID& id, const WideString& subject) { … };
//     parser.Start(*store, nullptr);
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <functional>

namespace deftmapi
{

class TKwMAPIMsgStoreParser;

using TKwOnParseStart =
    std::function<void(TKwMAPIMsgStoreParser& parser, IKwMAPIMsgStore& store, IKwMAPIFolder& folder)>;
/// @param goOn  true; set to false, neither subfolders nor messages of the subfolder are reported
using TKwOnParseSubFolder = std::function<void(TKwMAPIMsgStoreParser& parser, IKwMAPIMsgStore& store,
                                               IKwMAPIFolder& parent, IKwMAPIFolder& subFolder, bool& goOn)>;
using TKwOnParseMessage =
    std::function<void(TKwMAPIMsgStoreParser& parser, IKwMAPIMsgStore& store, IKwMAPIFolder& folder,
                       const TKwMAPIEntryID& entryID, const WideString& subject)>;
using TKwOnParseEnd = std::function<void(TKwMAPIMsgStoreParser& parser)>;

/// Depth first: all subfolders of a folder, each with everything in it, come before the folder's own messages. It only
/// reads: folders are opened with the access of the store, messages not at all, and hidden ones are not reported.
/// Failures end the walk, as does what a function throws; the end is not reported then. A function may read and write
/// messages, but a walk through a folder whose rows it adds or removes may miss or repeat some.
class DEFTMAPI_API TKwMAPIMsgStoreParser
{
public:
    // Called when set.
    TKwOnParseStart OnParseStart;
    TKwOnParseSubFolder OnParseSubFolder;
    TKwOnParseMessage OnParseMessage;
    TKwOnParseEnd OnParseEnd;

    /// Walks everything below a folder, which is itself reported as the start only.
    /// @param folder  of the store; null for the IPM root
    void Start(IKwMAPIMsgStore& store, const TKwRef<IKwMAPIFolder>& folder);
    /// The same without reporting start and end.
    void Parse(IKwMAPIMsgStore& store, IKwMAPIFolder& folder);

private:
    void ParseSubFolders(IKwMAPIMsgStore& store, IKwMAPIFolder& folder);
    void ParseMessages(IKwMAPIMsgStore& store, IKwMAPIFolder& folder);
};

} // namespace deftmapi
