// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads any bytes as a .glb file or as the JSON of one, reads all accessors and adds data. What is wrong must be
// refused with a reason.
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktFuzzing.h"
#include "ktGlbContainer.h"
#include "ktGltfAccessor.h"
#include "ktGltfReferences.h"
#include "ktGltfStore.h"

namespace {

/// The text must be read, or refused, exactly as by the JSON library.
ktJson parse(const char* text, std::size_t size) {
    const ktJson expected = ktJson::parse(text, text + size, nullptr, false);
    const ktJson json = ktParseJson(text, size);
    require(!expected.is_discarded(), "the library refuses this text");
    require(json == expected && json.dump(-1, ' ', false, ktJson::error_handler_t::replace) ==
                                    expected.dump(-1, ' ', false, ktJson::error_handler_t::replace),
            "the library reads another value");
    return json;
}

void readAll(const ktGltfDocument& document) {
    constexpr std::size_t most = 100000;
    for (std::size_t i = 0; i < ktJsonCount(document.json, "accessors"); ++i)
        try {
            const ktGltfAccessor accessor(document, i);
            const std::size_t count = std::min(accessor.count(), most);
            std::vector<float> values(count * static_cast<std::size_t>(accessor.components()));
            accessor.readFloats(nullptr, count, accessor.components(), 0.0f, values.data());
        } catch (const ktFileError& error) {
            require(!error.reason().empty() && !error.object().empty(), "refused without a reason");
        }
}

void add(ktGltfDocument& document) {
    const std::size_t accessors = ktJsonCount(document.json, "accessors");
    ktGltfStore store(document);
    const float data[3] = {1, 2, 3};
    ktGltfNewAccessor accessor;
    accessor.view = store.addView(data, sizeof data, 0, 34962);
    accessor.byteOffset = 0;
    accessor.count = 3;
    const std::size_t added = store.addAccessor(accessor);
    const std::vector<bool> used = ktFindUsedAccessors(document.json);
    require(added < accessors || !used[added], "something refers to an accessor that was added");
    store.finish();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ktBytes file(data, data + size);
    ktFileMessages messages;
    ktGltfDocument document;
    try {
        ktGlbParts parts;
        parts.jsonSize = size;
        if (ktIsGlb(file))
            parts = ktSplitGlb(file, messages);
        document.json = parse(reinterpret_cast<const char*>(data) + parts.jsonBegin, parts.jsonSize);
        const std::size_t buffers = ktJsonCount(document.json, "buffers");
        document.buffers.resize(buffers);
        if (parts.hasBinary && buffers > 0)
            document.buffers[0].bytes.assign(data + parts.binaryBegin, data + parts.binaryBegin + parts.binarySize);
        readAll(document);
        if (document.json.is_object())
            add(document);
    } catch (const ktFileError& error) {
        require(!error.reason().empty() && !error.object().empty(), "refused without a reason");
    }
    return 0;
}
