// The driver of a fuzz target built without libFuzzer: runs each file given (or each file of each
// directory given) through LLVMFuzzerTestOneInput once, so the seeds and any saved crash inputs are
// replayed by every build.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

bool runFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "replay: cannot read %s\n", qPrintable(path));
        return false;
    }
    const QByteArray bytes = file.readAll();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg.startsWith(QLatin1Char('-')))
            continue; // libFuzzer options, meaningless here
        if (QFileInfo(arg).isDir()) {
            QDirIterator it(arg, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                if (!runFile(it.next()))
                    return 1;
                ++runs;
            }
        } else {
            if (!runFile(arg))
                return 1;
            ++runs;
        }
    }
    std::printf("replay: %d inputs run\n", runs);
    return runs > 0 ? 0 : 1;
}
