// One stub adaptor's variant and entry points.
#include "host/stubs/Variant.h"

#ifndef STUB_CREATE
#define STUB_CREATE Nothing
#endif
#ifndef STUB_INIT
#define STUB_INIT Nothing
#endif
#ifndef STUB_START
#define STUB_START Nothing
#endif
#ifndef STUB_STOP
#define STUB_STOP Nothing
#endif
#ifndef STUB_READ
#define STUB_READ Nothing
#endif
#ifndef STUB_PARTS
#define STUB_PARTS Faulty
#endif
#ifndef STUB_STORAGE_REFUSES
#define STUB_STORAGE_REFUSES Nothing
#endif

const Variant TheVariant = {Act::STUB_CREATE,
                            Act::STUB_INIT,
                            Act::STUB_START,
                            Act::STUB_STOP,
                            Act::STUB_READ,
                            Parts::STUB_PARTS,
                            Refused::STUB_STORAGE_REFUSES};

#define STUB_EXPORT extern "C" __attribute__((visibility("default")))

#ifndef STUB_NO_CREATE
STUB_EXPORT void* CreateAdaptor() {
    return CreateStub();
}
#endif

#ifndef STUB_NO_DESTROY
STUB_EXPORT void DestroyAdaptor(void* adaptor) {
    DestroyStub(adaptor);
}
#endif
