#include "host/frmDisplayPole.h"

#include <QLabel>
#include <QVBoxLayout>

namespace station {

frmDisplayPole::frmDisplayPole(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("frmDisplayPole"));
    setWindowTitle(QStringLiteral("Display Pole"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    const QFont font(QStringLiteral("MS Sans Serif"), 14);
    lblLine1 = new QLabel(this);
    lblLine1->setObjectName(QStringLiteral("lblLine1"));
    lblLine2 = new QLabel(this);
    lblLine2->setObjectName(QStringLiteral("lblLine2"));
    for (auto* label : {lblLine1, lblLine2}) {
        label->setFont(font);
        label->setMinimumWidth(320);
        layout->addWidget(label);
    }
}

} // namespace station
