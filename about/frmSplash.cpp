#include "about/frmSplash.h"

#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

namespace station {

frmSplash::frmSplash(QWidget* parent) : QDialog(parent, Qt::SplashScreen | Qt::FramelessWindowHint) {
    setObjectName(QStringLiteral("frmSplash"));
    auto* frame = new QFrame(this);
    frame->setObjectName(QStringLiteral("Frame1"));
    frame->setFrameShape(QFrame::Box);
    frame->setLineWidth(2);
    auto* inner = new QVBoxLayout(frame);
    inner->setContentsMargins(48, 32, 48, 32);
    const auto label = [&](const char* name, const char* text, int size) {
        auto* l = new QLabel(QString::fromLatin1(text), frame);
        l->setObjectName(QString::fromLatin1(name));
        l->setFont(QFont(QStringLiteral("Arial"), size, QFont::Bold));
        l->setAlignment(Qt::AlignCenter);
        inner->addWidget(l);
        return l;
    };
    lblProduct = label("lblProduct", "VORNEOnline", 28);
    lblTerminal = label("lblTerminal", "TERMINAL", 24);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(frame);
}

} // namespace station
