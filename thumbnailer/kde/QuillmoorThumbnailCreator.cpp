#include "thumbnailer/kde/QuillmoorThumbnailCreator.h"

#include "thumbnailer/DesktopThumbnail.h"

#include <KPluginFactory>

#include <QFile>
#include <QUrl>

#include <algorithm>
#include <cstring>

K_PLUGIN_CLASS_WITH_JSON(QuillmoorThumbnailCreator, "quillmoorthumbnail.json")

QuillmoorThumbnailCreator::QuillmoorThumbnailCreator(QObject* parent, QVariantList const& args)
    : KIO::ThumbnailCreator(parent, args)
{
}

KIO::ThumbnailResult QuillmoorThumbnailCreator::create(KIO::ThumbnailRequest const& request)
{
    // The worker hands remote files over as local copies; anything else has no path to open.
    QUrl const url = request.url();
    if (!url.isLocalFile())
        return KIO::ThumbnailResult::fail();
    QSize const size = request.targetSize();
    QString message;
    QImage image = documentThumbnail(url.toLocalFile(), std::min(size.width(), size.height()), &message);
    if (image.isNull())
        return KIO::ThumbnailResult::fail();
    return KIO::ThumbnailResult::pass(image);
}

QImage QuillmoorThumbnailCreator::documentThumbnail(QString const& path, int box, QString* message)
{
    qm::DocumentFile document;
    if (!document.open(QFile::encodeName(path).toStdString())) {
        *message = QString::fromStdString(document.failureText());
        return QImage();
    }
    RenderedThumbnail rendered;
    std::string why;
    if (renderDocumentThumbnail(document, box, &rendered, &why) != qm::kExitOk) {
        *message = QString::fromStdString(why);
        return QImage();
    }
    AreaScaler const& pixels = rendered.pixels;
    QImage image(pixels.width(), pixels.height(), QImage::Format_RGBA8888);
    if (image.isNull()) {
        *message = QStringLiteral("not enough memory for the thumbnail");
        return QImage();
    }
    // The scaler's rows are packed; a QImage's rows may be padded.
    size_t const rowBytes = size_t(pixels.width()) * 4;
    for (int y = 0; y < pixels.height(); ++y)
        std::memcpy(image.scanLine(y), pixels.pixels() + size_t(y) * rowBytes, rowBytes);
    return image.convertToFormat(pixels.opaque() ? QImage::Format_RGB32 : QImage::Format_ARGB32);
}

#include "QuillmoorThumbnailCreator.moc"
