// SPDX-License-Identifier: MIT
// Stands in for the fuzzer where there is none: hands each file on the command line to the target, once.

#include <QFile>

#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    for (int i = 1; i < argc; ++i) {
        QFile file(QString::fromLocal8Bit(argv[i]));
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        const QByteArray bytes = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()),
                               static_cast<std::size_t>(bytes.size()));
    }
    return argc > 1 ? 0 : 1;
}
