// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives Python scripts rows of numbers as read-only memory views, without a copy.
#include "ktHostModuleBuffer.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace python = boost::python;

namespace {

/// The data of a buffer object. Exported buffers point into it.
struct Numbers {
    std::vector<float> floats;
    std::vector<std::uint32_t> integers;
    Py_ssize_t shape[2] = {0, 0}, strides[2] = {0, 0};
    int dimensions = 1;
    bool isFloat = true;
};

struct BufferObject {
    PyObject_HEAD Numbers* numbers;
};

int getBuffer(PyObject* self, Py_buffer* view, int flags) {
    Numbers& numbers = *reinterpret_cast<BufferObject*>(self)->numbers;
    if ((flags & PyBUF_WRITABLE) == PyBUF_WRITABLE) {
        view->obj = nullptr;
        PyErr_SetString(PyExc_BufferError, "results are read-only");
        return -1;
    }
    static char floatFormat[] = "f", integerFormat[] = "I";
    static float empty[1]; // never null, even without rows
    const std::size_t count = std::max(numbers.floats.size(), numbers.integers.size());
    view->buf = count == 0        ? static_cast<void*>(empty)
                : numbers.isFloat ? static_cast<void*>(numbers.floats.data())
                                  : static_cast<void*>(numbers.integers.data());
    view->obj = self;
    Py_INCREF(self);
    view->itemsize = 4;
    view->len = static_cast<Py_ssize_t>(count) * view->itemsize;
    view->readonly = 1;
    view->ndim = numbers.dimensions;
    view->format = (flags & PyBUF_FORMAT) == PyBUF_FORMAT ? (numbers.isFloat ? floatFormat : integerFormat) : nullptr;
    view->shape = (flags & PyBUF_ND) == PyBUF_ND ? numbers.shape : nullptr;
    view->strides = (flags & PyBUF_STRIDES) == PyBUF_STRIDES ? numbers.strides : nullptr;
    view->suboffsets = nullptr;
    view->internal = nullptr;
    return 0;
}

void destroyBuffer(PyObject* self) {
    delete reinterpret_cast<BufferObject*>(self)->numbers;
    Py_TYPE(self)->tp_free(self);
}

PyTypeObject bufferType; // filled by ktInitBufferType()
PyBufferProcs bufferProcs;

python::object makeView(std::unique_ptr<Numbers> numbers, std::size_t count, int columns) {
    numbers->dimensions = columns == 1 ? 1 : 2;
    numbers->shape[0] = static_cast<Py_ssize_t>(count) / columns;
    numbers->shape[1] = columns;
    numbers->strides[0] = Py_ssize_t(4) * columns;
    numbers->strides[1] = 4;
    BufferObject* const object = PyObject_New(BufferObject, &bufferType);
    const python::handle<> owner(reinterpret_cast<PyObject*>(object)); // throws for null
    object->numbers = numbers.release();
    return python::object(python::handle<>(PyMemoryView_FromObject(owner.get())));
}

} // namespace

void ktInitBufferType() {
    bufferProcs.bf_getbuffer = getBuffer;
    bufferType.tp_name = "kthost.Buffer";
    bufferType.tp_doc = "Owner of the numbers behind a memoryview.";
    bufferType.tp_basicsize = sizeof(BufferObject);
    bufferType.tp_dealloc = destroyBuffer;
    bufferType.tp_free = PyObject_Free;
    bufferType.tp_as_buffer = &bufferProcs;
    bufferType.tp_flags = Py_TPFLAGS_DEFAULT;
    // This reference is never released.
#if PY_MAJOR_VERSION < 3
    bufferType.tp_flags |= Py_TPFLAGS_HAVE_NEWBUFFER;
    bufferType.ob_refcnt = 1;
#else
    bufferType.ob_base.ob_base.ob_refcnt = 1;
#endif
    if (PyType_Ready(&bufferType) != 0)
        python::throw_error_already_set();
}

python::object ktMakeBuffer(std::vector<float> numbers, int columns) {
    auto owned = std::make_unique<Numbers>();
    owned->floats = std::move(numbers);
    const std::size_t count = owned->floats.size();
    return makeView(std::move(owned), count, columns);
}

python::object ktMakeBuffer(std::vector<std::uint32_t> numbers, int columns) {
    auto owned = std::make_unique<Numbers>();
    owned->integers = std::move(numbers);
    owned->isFloat = false;
    const std::size_t count = owned->integers.size();
    return makeView(std::move(owned), count, columns);
}
