// The KIO thumbnail plug-in: Dolphin (through KIO::PreviewJob and kio-extras' thumbnail worker)
// asks it for the thumbnail of an application/x-quillmoor-document file.
//
// The picture is the one `quillmoor-thumbnailer thumbnail` writes for the same document and size:
// the same walk, decoders and size rule (renderDocumentThumbnail), handed over as pixels instead
// of a PNG. The box is the smaller side of the requested size (requests are square in practice),
// so the thumbnail always fits. Anything without a thumbnail of its own (a selection file, a
// document without a stored picture, a damaged one, a file that is not local) gives a failed
// result and no image: KIO then shows the file's icon, never a picture we made up.
#pragma once

#include <KIO/ThumbnailCreator>

#include <QImage>
#include <QString>

class QuillmoorThumbnailCreator : public KIO::ThumbnailCreator {
    Q_OBJECT
public:
    QuillmoorThumbnailCreator(QObject* parent, QVariantList const& args);

    KIO::ThumbnailResult create(KIO::ThumbnailRequest const& request) override;

    // The thumbnail of the document at `path` in a box x box square (straight-alpha ARGB32, or
    // RGB32 when every pixel is opaque); a null image when it has none. *message says why not.
    static QImage documentThumbnail(QString const& path, int box, QString* message);
};
