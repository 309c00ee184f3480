#include "base/src/base/LibraryFolder.h"
#include "widgets/CWidgetLayoutMgr.h"

#include <QDir>

namespace ZentixGUIToolkit
{

QString GetTargetPathFile(const QString &relative)
{
    return QDir::toNativeSeparators(QString::fromStdWString(Base::libraryFolder()) + relative);
}

} // namespace ZentixGUIToolkit
