#include "faults/oddreplies.h"

#include <QtEndian>

QByteArray chunk(const QByteArray& bytes)
{
    return QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n";
}

HttpReply redirect(const QByteArray& location)
{
    return {.body = "elsewhere", .status = 302, .headers = {"Location: " + location}};
}

HttpReply chunked(const QByteArray& body)
{
    return {.body = body, .headers = {"Transfer-Encoding: chunked"}, .withLength = false};
}

HttpReply trickled(const QByteArray& body)
{
    HttpReply reply = chunked(body);
    reply.manner = HttpReply::Trickle;
    reply.trickleInterval = 1;
    return reply;
}

QByteArray gzipped(const QByteArray& content)
{
    // Behind a length of four bytes: zlib's head of two, the data, and a check sum of four.
    const QByteArray data = qCompress(content, 9).sliced(6).chopped(4);
    quint32 sum = 0xffffffff;
    for (const char byte : content) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum & 1) != 0 ? (sum >> 1) ^ 0xedb88320 : sum >> 1;
        }
    }
    const auto littleEndian = [](quint32 number) {
        QByteArray bytes(4, '\0');
        qToLittleEndian(number, bytes.data());
        return bytes;
    };
    return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\3", 10) + data + littleEndian(~sum) +
           littleEndian(quint32(content.size()));
}
