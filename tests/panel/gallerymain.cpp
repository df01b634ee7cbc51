#include "gallery.h"

#include <QApplication>

/// Writes the gallery into the directory given as the only argument.
int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 2)
        return 2;
    kestrune::test::writeGallery(QString::fromLocal8Bit(argv[1]));
    return 0;
}
