// The time field's own caret on the offscreen platform: drawn in the text colour, only while the field is
// focused and editable, blinking as the platform asks, and leaving the field's text where it was.
#include "TimeField.h"

#include "TestMain.h"

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QSet>
#include <QStyleHints>
#include <QTest>

#include <memory>

namespace {

const QColor textColour(220, 0, 0);
const QColor background(0, 0, 0);

// How many pixels of image have exactly this colour.
int count(const QImage& image, const QColor& colour, const QRect& area = {})
{
    const QRect inside = area.isNull() ? image.rect() : area & image.rect();
    int n = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x)
            n += image.pixelColor(x, y) == colour;
    }
    return n;
}

// Whether two images of a field differ nowhere but in area.
bool sameOutside(const QImage& a, const QImage& b, const QRect& area)
{
    if (a.size() != b.size())
        return false;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (!area.contains(x, y) && a.pixel(x, y) != b.pixel(x, y)) {
                qWarning("first difference at %d,%d", x, y);
                return false;
            }
        }
    }
    return true;
}

QSet<QRgb> coloursOf(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            colours.insert(image.pixelColor(x, y).rgba());
    }
    return colours;
}

// A window on a black background holding a frameless field styled as the panel's: the text colour in
// QPalette::Text and a transparent base. A second field takes the focus away.
struct Panel
{
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    QLineEdit* field = new QLineEdit(window.get());
    QLineEdit* other = new QLineEdit(window.get());
    TimeFieldCaret* caret = nullptr;

    explicit Panel(bool withCaret = true)
    {
        QPalette windowPalette = window->palette();
        windowPalette.setColor(QPalette::Window, background);
        window->setPalette(windowPalette);
        window->setAutoFillBackground(true);
        window->resize(300, 120);
        field->setFrame(false);
        QFont font = field->font();
        font.setPixelSize(40);
        field->setFont(font);
        field->move(10, 10);
        setTextColour(textColour);
        other->move(10, 80);
        // The window gives its first focus here, so the field is focused only when a test asks.
        other->setFocus();
        if (withCaret)
            caret = TimeFieldCaret::attach(field);
        field->setText(QStringLiteral("12:34"));
        sizeToFit(field);
    }

    void setTextColour(const QColor& colour)
    {
        QPalette palette = field->palette();
        palette.setColor(QPalette::Text, colour);
        palette.setColor(QPalette::Base, Qt::transparent);
        field->setPalette(palette);
    }

    bool showFocused()
    {
        window->show();
        window->activateWindow();
        if (!QTest::qWaitForWindowActive(window.get()))
            return false;
        field->setFocus();
        return QTest::qWaitFor([this] { return field->hasFocus(); });
    }

    QImage pixels() const { return field->grab().toImage(); }

    // What the field paints by itself, without the caret widget above it.
    QImage pixelsOfFieldAlone() const
    {
        QImage image(field->size(), QImage::Format_RGB32);
        image.fill(background);
        field->render(&image, {}, {}, QWidget::DrawWindowBackground);
        return image;
    }
};

} // namespace

class TestTimeField : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // No blinking: the caret is always in its shown phase, unless a test asks otherwise.
        QGuiApplication::styleHints()->setCursorFlashTime(0);
    }

    void aFocusedEditableFieldShowsItsCaretInTheTextColour()
    {
        Panel p;
        QVERIFY(p.showFocused());
        QVERIFY(p.caret->isCaretShown());
        const QRect caret = p.caret->caretRect();
        QVERIFY(!caret.isEmpty());
        QVERIFY(caret.width() >= 1 && caret.width() <= 2);
        // At the insertion point, after the last digit.
        QCOMPARE(p.field->cursorPosition(), p.field->text().length());
        QVERIFY2(caret.left() > p.field->width() / 2, qPrintable(QString::number(caret.left())));
        const QImage image = p.pixels();
        QCOMPARE(count(image, textColour, caret), caret.width() * caret.height());
    }

    void anEmptyFocusedFieldShowsNothingButTheCaretAndItsBackground()
    {
        Panel p;
        p.field->clear();
        QVERIFY(p.showFocused());
        const QImage image = p.pixels();
        const QRect caret = p.caret->caretRect();
        QVERIFY(caret.height() >= p.field->fontMetrics().height() / 2);
        QCOMPARE(count(image, textColour), caret.width() * caret.height());
        QCOMPARE(coloursOf(image), (QSet<QRgb>{background.rgba(), textColour.rgba()}));
        // Qt's own caret, which inverts what lies beneath it, is not drawn, not even under ours.
        QCOMPARE(coloursOf(p.pixelsOfFieldAlone()), QSet<QRgb>{background.rgba()});
    }

    void theCaretFollowsTheCursor()
    {
        Panel p;
        QVERIFY(p.showFocused());
        const QRect atEnd = p.caret->caretRect();
        p.field->setCursorPosition(0);
        const QRect atStart = p.caret->caretRect();
        QVERIFY(atStart.left() < atEnd.left());
        const QImage image = p.pixels();
        QCOMPARE(count(image, textColour, atStart), atStart.width() * atStart.height());
        QTest::keyClick(p.field, Qt::Key_Right);
        QVERIFY(p.caret->caretRect().left() > atStart.left());
        QVERIFY(p.caret->isCaretShown());
    }

    void aNewTextColourRecoloursTheCaretAtOnce()
    {
        Panel p;
        QVERIFY(p.showFocused());
        const QColor blue(0, 40, 230);
        p.setTextColour(blue);
        const QRect caret = p.caret->caretRect();
        const QImage image = p.pixels();
        QCOMPARE(count(image, blue, caret), caret.width() * caret.height());
        QCOMPARE(count(image, textColour), 0);
    }

    void aReadOnlyFieldShowsNoCaret()
    {
        Panel p;
        p.field->clear();
        QVERIFY(p.showFocused());
        p.field->setReadOnly(true);
        QVERIFY(!p.caret->isCaretShown());
        QCOMPARE(coloursOf(p.pixels()), QSet<QRgb>{background.rgba()});
        p.field->setReadOnly(false);
        QVERIFY(p.caret->isCaretShown());
        QVERIFY(count(p.pixels(), textColour) > 0);
    }

    void anUnfocusedFieldShowsNoCaret()
    {
        Panel p;
        p.field->clear();
        QVERIFY(p.showFocused());
        p.other->setFocus();
        QTRY_VERIFY(!p.field->hasFocus());
        QVERIFY(!p.caret->isCaretShown());
        QCOMPARE(coloursOf(p.pixels()), QSet<QRgb>{background.rgba()});
    }

    void theCaretBlinksAtTheFlashTime()
    {
        Panel p;
        p.field->clear();
        QGuiApplication::styleHints()->setCursorFlashTime(200);
        QVERIFY(p.showFocused());
        QTRY_VERIFY_WITH_TIMEOUT(!p.caret->isCaretShown(), 1000);
        QCOMPARE(count(p.pixels(), textColour), 0);
        QTRY_VERIFY_WITH_TIMEOUT(p.caret->isCaretShown(), 1000);
        QVERIFY(count(p.pixels(), textColour) > 0);
        // Typing shows it again at once.
        QTRY_VERIFY_WITH_TIMEOUT(!p.caret->isCaretShown(), 1000);
        QTest::keyClick(p.field, Qt::Key_1);
        QVERIFY(p.caret->isCaretShown());
        // No flash time: no blinking, always shown.
        QGuiApplication::styleHints()->setCursorFlashTime(0);
        QVERIFY(p.caret->isCaretShown());
        QTest::qWait(300);
        QVERIFY(p.caret->isCaretShown());
    }

    void theTextIsLaidOutAsInAPlainField()
    {
        Panel withCaret;
        Panel plain(false);
        QCOMPARE(withCaret.field->size(), plain.field->size());
        withCaret.window->show();
        plain.window->show();
        QVERIFY(QTest::qWaitForWindowExposed(withCaret.window.get()));
        QVERIFY(QTest::qWaitForWindowExposed(plain.window.get()));
        QCOMPARE(withCaret.pixels(), plain.pixels());
        // Focused, with the cursor at the end, the text stays where it was: only the caret is added.
        QVERIFY(withCaret.showFocused());
        QVERIFY(sameOutside(withCaret.pixels(), plain.pixels(), withCaret.caret->caretRect()));

        // Too narrow for its text, a field scrolls to its cursor; both scroll alike. Qt's own caret, in the
        // plain field, lies within where ours is.
        for (Panel* p : {&withCaret, &plain})
            p->field->resize(p->field->width() / 2, p->field->height());
        QVERIFY(plain.showFocused());
        const QImage plainScrolled = plain.pixelsOfFieldAlone();
        QVERIFY(withCaret.showFocused());
        QVERIFY(sameOutside(withCaret.pixels(), plainScrolled, withCaret.caret->caretRect()));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestTimeField)
#include "tst_timefield.moc"
