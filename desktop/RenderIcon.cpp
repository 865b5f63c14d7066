// Renders the application icon's SVG into the PNG sizes of the hicolor theme, at build time, so
// the drawing has one source: `vimbo_render_icon IN.svg OUT.png SIZE`.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 4) {
        std::fprintf(stderr, "usage: vimbo_render_icon IN.svg OUT.png SIZE\n");
        return 2;
    }
    QSvgRenderer svg{QString::fromLocal8Bit(argv[1])};
    const int size = QByteArray(argv[3]).toInt();
    if (!svg.isValid() || size <= 0)
        return 1;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter);
    painter.end();
    return image.save(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
}
