#include "connection/frmGetInfo.h"

#include <QApplication>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

namespace station {

namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

/// A path shown in the room the window has, shortened in the middle when it does not fit there;
/// text() keeps the whole path. A long path never widens the window past the screen.
class PathLabel : public QLabel {
public:
    explicit PathLabel(QWidget* parent) : QLabel(parent) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto room = contentsRect();
        painter.drawText(room, static_cast<int>(alignment()),
                         fontMetrics().elidedText(text(), Qt::ElideMiddle, room.width()));
    }
};

} // namespace

frmGetInfo::frmGetInfo(Dialogs& dialogs, ConnectionSettings& settings, const std::string& programFolder,
                       QWidget* parent)
    : QDialog(parent), m_settings(settings), m_logic(dialogs, settings, programFolder) {
    setObjectName(QStringLiteral("frmGetInfo"));
    setWindowTitle(QStringLiteral("Get External Data"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* grid = new QGridLayout(this);
    struct Box {
        QLineEdit** box;
        const char* name;
        const char* caption;
    };
    // In tab order.
    const Box boxes[] = {
        {&txtUsername, "txtUsername", "Username:"},
        {&txtPassword, "txtPassword", "Password:"},
        {&txtIP, "txtIP", "IP Address"},
        {&txtDomain, "txtDomain", "Domain:"},
        {&txtStation, "txtStation", "Station #:"},
    };
    int row = 0;
    QWidget* previous = nullptr;
    for (const auto& b : boxes) {
        auto* edit = new QLineEdit(this);
        edit->setObjectName(QString::fromLatin1(b.name));
        edit->installEventFilter(this);
        grid->addWidget(new QLabel(QString::fromLatin1(b.caption), this), row, 0);
        grid->addWidget(edit, row++, 1);
        if (previous)
            setTabOrder(previous, edit);
        previous = edit;
        *b.box = edit;
    }
    Label6 = new PathLabel(this);
    Label6->setObjectName(QStringLiteral("Label6"));
    grid->addWidget(Label6, row++, 0, 1, 2);

    auto* buttons = new QHBoxLayout;
    cmdLogin = new QPushButton(QStringLiteral("login"), this);
    cmdLogin->setObjectName(QStringLiteral("cmdLogin"));
    cmdPopulate = new QPushButton(QStringLiteral("Populate"), this);
    cmdPopulate->setObjectName(QStringLiteral("cmdPopulate"));
    cmdSave = new QPushButton(QStringLiteral("Save Local"), this);
    cmdSave->setObjectName(QStringLiteral("cmdSave"));
    for (auto* b : {cmdLogin, cmdPopulate, cmdSave}) {
        b->setAutoDefault(false);
        buttons->addWidget(b);
    }
    grid->addLayout(buttons, row, 0, 1, 2);
    connect(cmdLogin, &QPushButton::clicked, this, &frmGetInfo::cmdLogin_Click);
    connect(cmdPopulate, &QPushButton::clicked, this, &frmGetInfo::cmdPopulate_Click);
    connect(cmdSave, &QPushButton::clicked, this, &frmGetInfo::cmdSave_Click);
    Form_Load();
}

void frmGetInfo::Form_Load() {
    showBoxes(m_logic.Form_Load());
    adjustSize();
}

void frmGetInfo::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (m_placed)
        return;
    m_placed = true;
    // Lower edge on the screen's lower edge, towards the right edge; the frame is known only
    // once the window is shown.
    if (const auto* screen = QApplication::primaryScreen()) {
        const auto area = screen->geometry();
        move(area.right() + 1 - frameGeometry().width(), area.bottom() + 1 - frameGeometry().height());
    }
}

bool frmGetInfo::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        if (auto* edit = qobject_cast<QLineEdit*>(watched))
            // After the click that gave the focus has placed its cursor.
            QTimer::singleShot(0, edit, [edit] { edit->selectAll(); });
    }
    return QDialog::eventFilter(watched, event);
}

ConnectionBoxes frmGetInfo::boxes() const {
    return {txtUsername->text().toStdString(), txtPassword->text().toStdString(), txtIP->text().toStdString(),
            txtDomain->text().toStdString(), txtStation->text().toStdString()};
}

void frmGetInfo::showBoxes(const ConnectionBoxes& values) {
    txtUsername->setText(qs(values.userName));
    txtPassword->setText(qs(values.password));
    txtIP->setText(qs(values.hostAddress));
    txtDomain->setText(qs(values.domain));
    txtStation->setText(qs(values.station));
}

void frmGetInfo::cmdLogin_Click() {
    m_logic.cmdLogin_Click(boxes());
    close();
}

void frmGetInfo::cmdPopulate_Click() {
    if (const auto loaded = m_logic.populate()) {
        showBoxes(*loaded);
        showPath();
    }
    QApplication::processEvents();
}

void frmGetInfo::cmdSave_Click() {
    // Also when the path is the one remembered already: a failed load remembers its path
    // without showing it.
    if (m_logic.cmdSave_Click(boxes()))
        showPath();
}

void frmGetInfo::showPath() {
    Label6->setText(qs(m_settings.filePath));
    Label6->setToolTip(Label6->text());
}

} // namespace station
