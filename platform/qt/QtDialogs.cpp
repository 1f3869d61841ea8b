// Message boxes, input boxes and file dialogs through Qt's standard dialogs, modal to the window
// the user is working in.
#include "platform/qt/QtDialogs.h"

#include "platform/Adapters.h"
#include "platform/Dialogs.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QStringList>

namespace station {

namespace {

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

QString filterEntry(const QString& description, const QString& patterns) {
    QStringList kept;
    for (const QString& pattern : patterns.split(QLatin1Char(';'))) {
        if (const QString p = pattern.trimmed(); !p.isEmpty())
            kept << p;
    }
    if (kept.isEmpty())
        kept << QStringLiteral("*");
    const QString joined = kept.join(QLatin1Char(' '));
    return (description.isEmpty() ? joined : description) + QStringLiteral(" (") + joined + QLatin1Char(')');
}

QMessageBox::Icon qtIcon(Dialogs::Icon icon) {
    switch (icon) {
    case Dialogs::Icon::Critical:
        return QMessageBox::Critical;
    case Dialogs::Icon::Question:
        return QMessageBox::Question;
    case Dialogs::Icon::Exclamation:
        return QMessageBox::Warning;
    case Dialogs::Icon::Information:
        return QMessageBox::Information;
    case Dialogs::Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons qtButtons(Dialogs::Buttons buttons) {
    switch (buttons) {
    case Dialogs::Buttons::OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case Dialogs::Buttons::YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case Dialogs::Buttons::Ok:
        break;
    }
    return QMessageBox::Ok;
}

/// The answer of a box closed without a button (Escape, close box) is its cautious one.
Dialogs::Answer dismissed(Dialogs::Buttons buttons) {
    switch (buttons) {
    case Dialogs::Buttons::OkCancel:
        return Dialogs::Answer::Cancel;
    case Dialogs::Buttons::YesNo:
        return Dialogs::Answer::No;
    case Dialogs::Buttons::Ok:
        break;
    }
    return Dialogs::Answer::Ok;
}

class QtDialogs final : public Dialogs {
public:
    explicit QtDialogs(const std::string& applicationTitle) : m_title(text(applicationTitle)) {}

    Answer message(const std::string& message, Icon icon, Buttons buttons,
                   const std::optional<std::string>& title) override {
        QMessageBox box(qtIcon(icon), title ? text(*title) : m_title, text(message), qtButtons(buttons),
                        QApplication::activeWindow());
        box.exec();
        switch (box.standardButton(box.clickedButton())) {
        case QMessageBox::Ok:
            return Answer::Ok;
        case QMessageBox::Cancel:
            return Answer::Cancel;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        default:
            return dismissed(buttons);
        }
    }

    std::string input(const std::string& prompt) override {
        bool accepted = false;
        const QString answer = QInputDialog::getText(QApplication::activeWindow(), m_title, text(prompt),
                                                     QLineEdit::Normal, QString(), &accepted);
        return accepted ? answer.toStdString() : std::string();
    }

    std::string openFile(const std::string& folder, const std::string& filter) override {
        QFileDialog dialog(QApplication::activeWindow(), QString(), text(folder), qtFileFilter(filter));
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFile);
        return chosen(dialog);
    }

    std::string saveFile(const std::string& fileName, const std::string& filter) override {
        // A file name in place of the folder is preselected in the dialog.
        QFileDialog dialog(QApplication::activeWindow(), QString(), text(fileName), qtFileFilter(filter));
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        return chosen(dialog);
    }

private:
    static std::string chosen(QFileDialog& dialog) {
        if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
            return {};
        return QDir::toNativeSeparators(dialog.selectedFiles().constFirst()).toStdString();
    }

    QString m_title;
};

} // namespace

QString qtFileFilter(const std::string& filter) {
    const QStringList parts = text(filter).split(QLatin1Char('|'));
    QStringList entries;
    for (qsizetype i = 0; i < parts.size(); i += 2) {
        const QString description = parts[i].trimmed();
        const QString patterns = i + 1 < parts.size() ? parts[i + 1] : QString();
        if (description.isEmpty() && patterns.trimmed().isEmpty())
            continue;
        entries << filterEntry(description, patterns);
    }
    return entries.join(QStringLiteral(";;"));
}

std::unique_ptr<Dialogs> makeDialogs(const std::string& applicationTitle) {
    return std::make_unique<QtDialogs>(applicationTitle);
}

} // namespace station
