// Buffer.cpp - the key function of the buffer interface.

#include <QX/Buffer.h>

namespace QX {

IBuffer::~IBuffer() = default;

} // namespace QX
