// Dolphin's own path makes Quillmoor thumbnails, end to end: KIO::PreviewJob hands each file to
// kio-extras' thumbnail worker, which loads our plug-in from QT_PLUGIN_PATH. Every picture must be
// the one `quillmoor-thumbnailer thumbnail -s SIZE` writes for the same document (size and
// pixels); a document without a picture, a damaged one and selection files (also one named like
// a document) must give no preview.
//
// Runs on Qt's offscreen platform with throwaway XDG data, cache, config and runtime folders, our
// MIME package installed into the data folder. Workers are forked by KIO itself
// (KDE_FORK_SLAVES) with no session bus, so no klauncher or other KDE service takes part.
//
// Usage: kde_preview_test PLUGIN_ROOT THUMBNAILER SAMPLE_TOOL MIME_PACKAGE
//   PLUGIN_ROOT   the folder holding kf5/thumbcreator/quillmoorthumbnail.so
//   THUMBNAILER   the built quillmoor-thumbnailer, whose PNGs are the expected pictures
//   SAMPLE_TOOL   make_examples, which writes the sample documents
//   MIME_PACKAGE  packaging/quillmoor.xml
// Exit status 0 on success, 1 on failure, 77 when it cannot run here (no thumbnail worker).
#include "tests/support/DocumentBuilder.h"
#include "tests/support/PictureSamples.h"

#include <KFileItem>
#include <KIO/PreviewJob>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QLibraryInfo>
#include <QMap>
#include <QPixmap>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

constexpr int kSkip = 77;
int failures = 0;

void check(bool condition, QString const& text)
{
    if (!condition) {
        ++failures;
        std::printf("FAIL: %s\n", qPrintable(text));
        std::fflush(stdout);
    }
}

struct Sample {
    QString name;
    QMap<int, QSize> sizes;  // by box; none or 0 x 0: no preview wanted
};

bool run(QString const& program, QStringList const& args, QByteArray* out = nullptr)
{
    QProcess p;
    p.start(program, args);
    bool const ok = p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    if (out)
        *out = p.readAllStandardOutput();
    return ok;
}

// A selection file carrying a picture that would decode: only its ID keeps it from a thumbnail.
QByteArray selectionWithPicture()
{
    samples::Picture p = samples::testPattern(64, 48);
    qmtest::DocumentBuilder doc;
    doc.selectionID().version(0x0200).thumbnail(
        qmtest::ThumbnailRecord().description(0, p.width, p.height).inlinePicture(2, samples::encodeJpeg(p)));
    doc.endTag();
    samples::Bytes const bytes = doc.bytes();
    return QByteArray(reinterpret_cast<char const*>(bytes.data()), int(bytes.size()));
}

// The sample documents: make_examples' shapes (name and expected size per box), two of its
// damaged documents and two selection files, the last ones wanting no preview at any box.
QList<Sample> writeSamples(QString const& tool, QString const& docs, QString const& hostile)
{
    QList<Sample> list;
    QByteArray out;
    check(run(tool, {"desktop", docs}, &out), "make_examples desktop");
    for (QByteArray const& line : out.split('\n')) {
        QList<QByteArray> f = line.split('\t');
        if (f.size() != 9)
            continue;
        Sample s{QString::fromUtf8(f[0]), {}};
        int i = 1;
        for (int box : {128, 256, 512, 1024}) {
            s.sizes[box] = QSize(f[i].toInt(), f[i + 1].toInt());
            i += 2;
        }
        list.append(s);
    }
    check(list.size() >= 5, "the sample shapes were listed");
    check(run(tool, {"desktop", "--hostile", hostile}), "make_examples desktop --hostile");
    for (char const* name : {"cut-png.qmd", "flipped-jpeg.qmd"}) {
        check(QFile::copy(hostile + "/" + name, docs + "/" + name), QString("copy ") + name);
        list.append(Sample{name, {}});
    }
    for (char const* name : {"selection.qms", "selection named as a document.qmd"}) {
        QFile f(docs + "/" + name);
        check(f.open(QIODevice::WriteOnly) && f.write(selectionWithPicture()) > 0, QString("write ") + name);
        list.append(Sample{name, {}});
    }
    return list;
}

// Runs one PreviewJob over `items` at box x box with only our plug-in enabled: file name ->
// preview (a failed item gets a null image).
std::map<QString, QImage> previews(KFileItemList const& items, int box)
{
    static QStringList const plugins{"quillmoorthumbnail"};
    auto* job = new KIO::PreviewJob(items, QSize(box, box), &plugins);
    std::map<QString, QImage> got;
    QObject::connect(job, &KIO::PreviewJob::gotPreview, [&](KFileItem const& item, QPixmap const& pixmap) {
        got[item.name()] = pixmap.toImage();
    });
    QObject::connect(job, &KIO::PreviewJob::failed, [&](KFileItem const& item) { got[item.name()] = QImage(); });
    QEventLoop loop;
    bool finished = false;
    QObject::connect(job, &KJob::result, [&] {
        finished = true;
        loop.quit();
    });
    QTimer::singleShot(240000, &loop, &QEventLoop::quit);
    job->start();
    loop.exec();
    check(finished, QString("the preview job at %1 finished").arg(box));
    return got;
}

int channelDistance(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

// The largest difference between the two pictures: alpha always, colour where the pixel is not
// nearly transparent (there the round trips through premultiplied forms lose colour precision).
int pictureDistance(QImage const& a, QImage const& b)
{
    QImage x = a.convertToFormat(QImage::Format_ARGB32);
    QImage y = b.convertToFormat(QImage::Format_ARGB32);
    int worst = 0;
    for (int j = 0; j < x.height(); ++j) {
        for (int i = 0; i < x.width(); ++i) {
            QRgb p = x.pixel(i, j), q = y.pixel(i, j);
            worst = std::max(worst, std::abs(qAlpha(p) - qAlpha(q)));
            if (qAlpha(p) >= 64)
                worst = std::max(worst, channelDistance(p, q));
        }
    }
    return worst;
}

void checkPreviews(QList<Sample> const& list, QString const& docs, QString const& thumbnailer, QString const& work)
{
    KFileItemList items;
    for (Sample const& s : list) {
        KFileItem item(QUrl::fromLocalFile(docs + "/" + s.name));
        bool const selection = s.name.startsWith("selection.");
        check(item.mimetype() ==
                  (selection ? "application/x-quillmoor-selection" : "application/x-quillmoor-document"),
              s.name + " has MIME type " + item.mimetype());
        items.append(item);
    }
    for (int box : {128, 256, 512, 1024}) {
        std::map<QString, QImage> got = previews(items, box);
        for (Sample const& s : list) {
            QString const where = QString("%1 at %2: ").arg(s.name).arg(box);
            auto it = got.find(s.name);
            if (it == got.end()) {
                check(false, where + "the job did not report it");
                continue;
            }
            QImage const& preview = it->second;
            QSize const want = s.sizes.value(box, QSize(0, 0));  // 0 x 0: no preview
            check(preview.size() == want, where + QString("preview is %1x%2, want %3x%4")
                                                      .arg(preview.width())
                                                      .arg(preview.height())
                                                      .arg(want.width())
                                                      .arg(want.height()));
            if (want.isEmpty() || preview.size() != want)
                continue;
            QString const png = work + "/expected.png";
            QFile::remove(png);
            check(run(thumbnailer, {"thumbnail", "-s", QString::number(box), docs + "/" + s.name, png}),
                  where + "the thumbnail command");
            QImage const expected(png);
            int const d = expected.size() == want ? pictureDistance(preview, expected) : 256;
            check(d <= 2, where + QString("pixels differ from the command's by up to %1").arg(d));
        }
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: kde_preview_test PLUGIN_ROOT THUMBNAILER SAMPLE_TOOL MIME_PACKAGE\n");
        return 2;
    }
    QString const worker = QLibraryInfo::location(QLibraryInfo::PluginsPath) + "/kf5/kio/thumbnail.so";
    if (!QFile::exists(worker)) {
        std::printf("SKIP: kio-extras' thumbnail worker (%s) is not installed\n", qPrintable(worker));
        return kSkip;
    }
    QTemporaryDir work;
    if (!work.isValid()) {
        std::printf("FAIL: no temporary folder\n");
        return 1;
    }
    QString const root = work.path();
    for (char const* sub : {"data/mime/packages", "cache", "config", "runtime", "home", "docs", "hostile"})
        QDir().mkpath(root + "/" + sub);
    QFile::setPermissions(root + "/runtime", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_PLUGIN_PATH", QFile::encodeName(QString::fromLocal8Bit(argv[1])));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + "/data"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(root + "/cache"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + "/config"));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(root + "/runtime"));
    qputenv("HOME", QFile::encodeName(root + "/home"));
    qputenv("KDE_FORK_SLAVES", "1");
    // A session bus would bring in the user's klauncher and kiod, with their own environment.
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QGuiApplication app(argc, argv);

    QString const mimeFolder = root + "/data/mime";
    check(QFile::copy(QString::fromLocal8Bit(argv[4]), mimeFolder + "/packages/quillmoor.xml"), "copy the MIME package");
    check(run("update-mime-database", {mimeFolder}), "update-mime-database");
    QList<Sample> list = writeSamples(QString::fromLocal8Bit(argv[3]), root + "/docs", root + "/hostile");
    checkPreviews(list, root + "/docs", QString::fromLocal8Bit(argv[2]), root);
    std::printf("%s: %d failure(s)\n", failures ? "FAILED" : "ok", failures);
    return failures ? 1 : 0;
}
