#include "core/dsp/dspexchange.h"

#include "core/app/log.h"
#include "core/app/texts.h"
#include "core/dsp/dspframeassembler.h"

#include <QElapsedTimer>
#include <QTcpSocket>

namespace {

DspExchange::Result failure(Tx text)
{
    DspExchange::Result r;
    r.title = tx(Tx::Notice);
    r.message = tx(text);
    return r;
}

} // namespace

DspExchange::Result DspExchange::run(const QString &address, const QString &request, quint16 port, int readWaitMs,
                                     int limitMs)
{
    QTcpSocket socket;
    socket.connectToHost(address, port);
    if (!socket.waitForConnected(kConnectWaitMs)) {
        socket.close();
        return failure(Tx::DspConnectFailed);
    }

    socket.write(DspFrameAssembler::frame(request));
    socket.flush();
    Log::line(QStringLiteral("send msg ") + request);

    DspFrameAssembler assembler;
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const qint64 left = limitMs - clock.elapsed();
        if (left <= 0)
            break;
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(int(qMin<qint64>(readWaitMs, left)))) {
            // A closed peer makes every further wait return at once.
            if (socket.state() != QAbstractSocket::ConnectedState)
                break;
            Log::line(QStringLiteral("read no data"));
            continue;
        }
        const QByteArray chunk = socket.readAll();
        Log::line(QStringLiteral("read data ") + QString::number(chunk.size()));
        QString reply;
        const DspFrameAssembler::Status status = assembler.feed(chunk, &reply);
        if (status == DspFrameAssembler::Status::Complete) {
            socket.close();
            Result r;
            r.ok = true;
            r.reply = reply;
            return r;
        }
        // Only the first chunk can be short of a header here: one reply is all
        // this connection ever reads.
        if (status == DspFrameAssembler::Status::ShortHeader || status == DspFrameAssembler::Status::Broken)
            break;
    }
    socket.close();
    return failure(Tx::DspCommFailed);
}
