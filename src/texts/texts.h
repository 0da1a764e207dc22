#pragma once

// Every text the user sees, written once. Resource numbers of the string table stand in the
// comments where a text has one. Messages that take a term (sProStru) are built by functions.

#include <QString>
#include <QStringList>

namespace qx::text {

// Titles
inline const QString kTitle = QStringLiteral("提示！");            // 2
inline const QString kPrintErrorTitle = QStringLiteral("提示!");   // the layout routine's own

// Caption words (customisable through CA_MenuDef)
inline const QString kProStru = QStringLiteral("产品结构");   // 9
inline const QString kParentWord = QStringLiteral("父项");
inline const QString kChildWord = QStringLiteral("子项");
inline const QString kCode = QStringLiteral("编码");
inline const QString kName = QStringLiteral("名称");
inline const QString kDefine = QStringLiteral("定义");
inline const QString kCardCaption = QStringLiteral("产品结构定义");  // 27

// Grid headers
inline const QString kProduceDept = QStringLiteral("生产部门");
inline const QString kSpec = QStringLiteral("规格型号");
inline const QString kFreeItem1 = QStringLiteral("自由项一");
inline const QString kFreeItem2 = QStringLiteral("自由项二");
inline const QString kFreeDefault1 = QStringLiteral("自由项1");
inline const QString kFreeDefault2 = QStringLiteral("自由项2");
inline const QString kAuxUnit = QStringLiteral("辅计量单位");
inline const QString kPieces = QStringLiteral("件数");
inline const QString kExchRate = QStringLiteral("换算率");
inline const QString kMainUnit = QStringLiteral("主计量单位");
inline const QString kStdQuantity = QStringLiteral("定额数量");   // 19
inline const QString kWasteRate = QStringLiteral("损耗率");
inline const QString kWarehouse = QStringLiteral("存放仓库");      // 18
inline const QString kStorekeeper = QStringLiteral("库管员");
inline const QString kUseDept = QStringLiteral("用料车间");
inline const QString kOperation = QStringLiteral("用料工序");
inline const QString kPlannedPrice = QStringLiteral("计划价");
inline const QString kSortTip = QStringLiteral("单击此行排序");    // 20

// List toolbar
inline const QString kTipAdd = QStringLiteral("新增");       // 60
inline const QString kTipDelete = QStringLiteral("删除");    // 61
inline const QString kTipEdit = QStringLiteral("修改");      // 62
inline const QString kTipExit = QStringLiteral("退出");      // 63
inline const QString kCapAdd = QStringLiteral("增加");
inline const QString kCapDelete = QStringLiteral("删除");
inline const QString kCapEdit = QStringLiteral("修改");
inline const QString kCapExit = QStringLiteral("退出");
inline const QString kPrint = QStringLiteral("打印");
inline const QString kTipPreview = QStringLiteral("打印预览");
inline const QString kCapPreview = QStringLiteral("预览");
inline const QString kRefresh = QStringLiteral("刷新");
inline const QString kHelp = QStringLiteral("帮助");
inline const QString kTipOutput = QStringLiteral("输出到文件");
inline const QString kCapOutput = QStringLiteral("输出");
inline const QString kTipSetup = QStringLiteral("打印设置");
inline const QString kCapSetup = QStringLiteral("设置");
inline const QString kCopy = QStringLiteral("复制");
inline const QString kTipSetItem = QStringLiteral("设置子表栏目");

// List messages
inline const QString kNoDataToPrint = QStringLiteral("没有可供打印的数据！");
inline const QString kNoDataToOutput = QStringLiteral("没有数据可以输出！");
inline const QString kNoDefaultPrinter = QStringLiteral(" 没有默认打印机，请安装打印机后再试一次！");
inline const QString kBadPrintSetup = QStringLiteral("打印设置不正确，无法预览！");
inline const QString kLastLineRefused = QStringLiteral("删除此条将导致产品结构不合法，不能删除！");  // 24
inline const QString kRecordDeleted = QStringLiteral("该记录刚被他人删除！");
inline const QString kConcurrentChange =
    QStringLiteral("您正试图和他人同时对本记录操作，请暂时放弃，下次进入再对本记录操作！");

// The three lock refusals differ on purpose: edit "！", parent deletion "!", line deletion "在试".
inline QString lockRefusedEdit(const QString& term)
{
    return QStringLiteral("其他操作员正对本") + term + QStringLiteral("进行操作，请您稍后再试！");
}
inline QString lockRefusedDelete(const QString& term)
{
    return QStringLiteral("其他操作员正对本") + term + QStringLiteral("进行操作，请您稍后再试!");
}
inline QString lockRefusedDeleteLine(const QString& term)
{
    return QStringLiteral("其他操作员正对本") + term + QStringLiteral("进行操作，请您稍后在试！");
}
inline QString usedCannotDelete(const QString& term)
{
    return QStringLiteral("该") + term + QStringLiteral("已经使用，不能删除！");
}
inline QString usedWithLowerLevels(const QString& term)
{
    return QStringLiteral("该") + term + QStringLiteral("已经使用且该子产品仍有下级产品，所以不能删除！");
}
inline QString inUseCannotDelete(const QString& term)
{
    return QStringLiteral("该") + term + QStringLiteral("已被使用，不能删除！");
}
// 21, 22, 23
inline QString askDeleteStructure(const QString& code, const QString& name)
{
    return QStringLiteral("确实要删除：") + code + QStringLiteral("产品：") + name +
           QStringLiteral("及其结构定义吗？");
}
// 21, 25, 26
inline QString askDeleteLine(const QString& code, const QString& name)
{
    return QStringLiteral("确实要删除：") + code + QStringLiteral("子项：") + name +
           QStringLiteral("定义吗？");
}

// Card toolbar and labels
inline const QString kCapSave = QStringLiteral("保存");
inline const QString kTipSave = QStringLiteral("保存( F6 )");
inline const QString kTipAddMore = QStringLiteral("继续增加");
inline const QString kCapAddLine = QStringLiteral("增行");
inline const QString kTipAddLine = QStringLiteral("增加一条子产品");
inline const QString kCapDeleteLine = QStringLiteral("删行");
inline const QString kTipDeleteLine = QStringLiteral("删除一条子产品");
inline const QString kTipReturn = QStringLiteral("返回");
inline const QString kLabelDept = QStringLiteral("加工部门");
inline const QString kMenuAdd = QStringLiteral("增加一条子产品");
inline const QString kMenuDelete = QStringLiteral("删除一条子产品");

// Card messages
inline const QString kLineUnfinished = QStringLiteral("本行尚未填完整，不能增加新行！");
inline const QString kLineUsedWithLowerLevels =
    QStringLiteral("该产品结构已经使用且该子产品仍有下级产品，所以不能删除！");
inline const QString kAskDeleteChild = QStringLiteral("确实要删去该子产品吗？");
inline const QString kParentEmpty = QStringLiteral("主产品编码不能为空！");
inline const QString kParentDefined = QStringLiteral("所填父项编码已定义过，请修改！");
inline const QString kInvNotExist = QStringLiteral("所填存货编码不存在，请修改！");       // 37
inline const QString kProduceDeptNotExist = QStringLiteral("所填生产部门不存在，请修改！");  // 59
inline const QString kIllegalChars = QStringLiteral("请去掉非法字符 |,' ");
inline const QString kChildEmpty = QStringLiteral("子产品编号不能为空！");                  // 34
inline const QString kProductRepeated = QStringLiteral("产品重复出现，请修改！");           // 35
inline const QString kCycle = QStringLiteral("所填的产品结构出现循环调用，请修改！");       // 36
inline const QString kContentNotExist = QStringLiteral("所填内容不存在，请修改！");
inline const QString kPiecesEmpty = QStringLiteral("件数不能为空！");
inline const QString kPiecesNotPositive = QStringLiteral("件数不能小于或等于零！");
inline const QString kQuantityEmpty = QStringLiteral("定额数量不能为空！");                 // 40
inline const QString kQuantityNotPositive = QStringLiteral("定额数量不能小于等于零！");     // 41
inline const QString kWarehouseEmpty = QStringLiteral("仓库编码不能为空！");                // 38
inline const QString kWarehouseNotExist = QStringLiteral("所填仓库不存在，请重新填写！");   // 39
inline const QString kPersonNotExist = QStringLiteral("所填职员不存在，请修改！");
inline const QString kDeptNotExist = QStringLiteral("所填部门不存在，请修改！");
inline const QString kOperationNotExist = QStringLiteral("所填工序不存在，请修改！");
inline const QString kPlannedPriceRule = QStringLiteral("计划价法核算的仓库不能存放无计划价的存货！");
inline const QString kPlannedPriceMethod = QStringLiteral("计划价法");
inline const QString kNoLines = QStringLiteral("子产品未添加全，请修改！");
inline const QString kIncomplete = QStringLiteral("数据未添加完整，不能存盘！");            // 42
inline const QString kChildEqualsParent = QStringLiteral("存货编码出现重复，请重新定义！");
inline const QString kUsedCannotModifyEdit = QStringLiteral("该产品结构已经使用，不能修改！");
inline const QString kUsedCannotModifySave = QStringLiteral("该产品结构已被使用，不能修改！");
inline const QString kStructureExists = QStringLiteral("该产品结构已经存在，请重新添加！");    // 67
inline const QString kDeletedCannotSave = QStringLiteral("该产品刚被他人删除，不能保存！");    // 68
inline const QString kLockedCannotModify = QStringLiteral("该产品被他人锁定使用，不能修改！"); // 69
inline const QString kTooLong = QStringLiteral("有字段内容过长，不能存盘！");                  // 70
inline QString cycleAtLine(int i)
{
    return QStringLiteral("第") + QString::number(i) + QStringLiteral("个子产品与父产品发生循环调用！");
}
inline QString freeItemNotExistAtLine(int i, const QString& freeName)
{
    return QStringLiteral("第") + QString::number(i) + QStringLiteral("个子产品的") + freeName +
           QStringLiteral("所填内容不存在，请修改！");
}
inline QString freeItemNotDefined(int i, const QString& freeName)
{
    return QStringLiteral("第") + QString::number(i) + QStringLiteral("条子存货没有定义") + freeName +
           QStringLiteral(",请清空！");
}

// Reference dialogs
inline const QString kRefParent = QStringLiteral("主产品");
inline const QString kRefChild = QStringLiteral("子产品");
inline const QString kRefProductCode = QStringLiteral("产品编码");
inline const QString kRefProductName = QStringLiteral("产品名称");
inline const QString kRefUnit = QStringLiteral("计量单位");
inline const QString kRefPrice = QStringLiteral("计划价/售价");
inline const QString kRefDept = QStringLiteral("生产部门");
inline const QString kRefDeptCode = QStringLiteral("部门编码");
inline const QString kRefDeptName = QStringLiteral("部门名称");
inline const QString kRefDeptHead = QStringLiteral("负责人");
inline const QString kRefDeptEnd = QStringLiteral("是否末级");
inline const QString kYes = QStringLiteral("是");
inline const QString kRefWarehouse = QStringLiteral("仓库");
inline const QString kRefWhCode = QStringLiteral("仓库编码");
inline const QString kRefWhName = QStringLiteral("仓库名称");
inline const QString kRefWhStyle = QStringLiteral("记价方式");
inline const QString kRefWhDept = QStringLiteral("所属部门");
inline const QString kRefFree = QStringLiteral("参照");
inline const QString kRefFreeCode = QStringLiteral("编码");
inline const QString kRefFreeValue = QStringLiteral("可取的值");
inline const QString kRefPerson = QStringLiteral("库管员");
inline const QString kRefPersonCode = QStringLiteral("职员编码");
inline const QString kRefPersonName = QStringLiteral("职员名称");
inline const QString kRefPersonDeptCode = QStringLiteral("所属部门编码");
inline const QString kRefPersonDeptName = QStringLiteral("所属部门名称");
inline const QString kRefUseDept = QStringLiteral("用料车间");
inline const QString kRefOperation = QStringLiteral("用料工序名称");
inline const QString kRefOperationCode = QStringLiteral("工序编码");
inline const QString kRefOperationName = QStringLiteral("工序名称");

// Print layout
inline const QString kPrintUnexpected = QStringLiteral("意外错误，请稍后再试一次.");
inline const QString kPrintParentCode = QStringLiteral("父产品编码：");
inline const QString kPrintParentName = QStringLiteral("父产品名称：");
inline const QString kPrintSpec = QStringLiteral("规格型号：");
inline const QString kPrintDeptCode = QStringLiteral("使用部门编码：");
inline const QString kPrintYear = QStringLiteral("年度");
inline const QString kPrintDate = QStringLiteral("打印日期：");
inline const QString kPrintBrand = QStringLiteral("【岚禾软件】");
inline const QString kPrintFont = QStringLiteral("宋体");

// Database adapter (descriptions carried by DbError(Other))
inline const QString kReadOnlyRecordset = QStringLiteral("记录集为只读，不能更新。");
inline const QString kNoCurrentRecord = QStringLiteral("没有当前记录。");
inline const QString kNotEditing = QStringLiteral("没有调用 AddNew 或 Edit 就更新记录。");
inline const QString kNestedTransaction = QStringLiteral("事务已经开始，不能再开始一个事务。");
inline const QString kNoTransaction = QStringLiteral("没有开始事务，不能提交。");
inline const QString kRecordsetClosed = QStringLiteral("记录集已经关闭。");
inline const QString kNoRowKey = QStringLiteral("该表没有可用来定位记录的字段，不能更新。");
inline QString unknownField(const QString& field)
{
    return QStringLiteral("记录集中没有字段：") + field;
}
inline QString badCriterion(const QString& criterion)
{
    return QStringLiteral("查找条件不正确：") + criterion;
}
inline QString badConnectionString(const QString& connection, const QString& why)
{
    return QStringLiteral("数据库连接串不正确（") + why + QStringLiteral("）：") + connection;
}
inline QString cannotOpenDatabase(const QString& what, const QString& reason)
{
    return QStringLiteral("不能打开数据库 ") + what + QStringLiteral("：") + reason;
}
inline const QString kNoSqlDriver = QStringLiteral("没有该数据库的驱动程序");
inline const QString kFileMissing = QStringLiteral("文件不存在");
// Shown by every command that meets them (carried as the error's description).
inline const QString kConnectionLost =
    QStringLiteral("与账套数据库的连接已断开，所填内容仍然保留，请稍后再试！");
inline const QString kDiskFull = QStringLiteral("磁盘空间不足，数据没有写入，请清理磁盘后再试！");
// Added to the list window's title when the company can only be read.
inline const QString kUnwritableNotice = QStringLiteral("（只读：本账套数据库不能写入）");

// Printing, output to a file, column settings and help
inline const QString kOutputFilter = QStringLiteral("PDF 文件 (*.pdf);;CSV 文件 (*.csv)");
inline QString scratchUnwritable(const QString& path)
{
    return QStringLiteral("无法建立打印临时数据库 ") + path + QStringLiteral("，请检查该目录能否写入后再试一次！");
}
inline QString outputUnwritable(const QString& path)
{
    return QStringLiteral("无法写入文件 ") + path + QStringLiteral("，请检查该文件能否写入后再试一次！");
}
inline QString structureNotFound(const QString& code)
{
    return QStringLiteral("产品结构不存在：") + code;
}
inline const QString kPrintFailed = QStringLiteral("打印没有完成，请检查打印机后再试一次！");
inline const QString kOk = QStringLiteral("确定");
inline const QString kCancel = QStringLiteral("取消");

// The host executable's command line and the integrity report (qxprostru verify, check-cycle)
inline QString badCommandLine(const QString& why)
{
    return QStringLiteral("命令行不正确：") + why;
}
inline const QString kUsage = QStringLiteral(
    "用法：qxprostru [--read-only] [数据库] [--screenshot PNG [--card 编码 | --new-card]]\n"
    "      qxprostru 数据库 --pdf 文件 --structure 编码\n"
    "      qxprostru demo 数据库\n"
    "      qxprostru verify 数据库\n"
    "      qxprostru check-cycle 数据库 父项编码 子项编码\n"
    "      qxprostru explode 数据库 编码 [--qty 数量] [--summary] [--xlsx 文件 | --csv 文件]\n"
    "      qxprostru where-used 数据库 编码 [--summary] [--xlsx 文件 | --csv 文件]\n"
    "不指定数据库时打开用户数据目录中的演示账套（首次使用时建立）。");
inline QString unknownOption(const QString& option)
{
    return QStringLiteral("不认识的选项 ") + option;
}
inline QString optionNeedsValue(const QString& option)
{
    return QStringLiteral("选项 ") + option + QStringLiteral(" 缺少取值");
}
inline QString optionNeedsOption(const QString& option, const QString& needed)
{
    return QStringLiteral("选项 ") + option + QStringLiteral(" 须与 ") + needed + QStringLiteral(" 同用");
}
inline QString optionsExclusive(const QString& a, const QString& b)
{
    return QStringLiteral("选项 ") + a + QStringLiteral(" 与 ") + b + QStringLiteral(" 不能同用");
}
inline QString optionNotHere(const QString& option, const QString& command)
{
    return QStringLiteral("选项 ") + option + QStringLiteral(" 不能用于 ") + command;
}
inline QString optionRepeated(const QString& option)
{
    return QStringLiteral("选项 ") + option + QStringLiteral(" 重复");
}
inline const QString kMissingDatabase = QStringLiteral("缺少数据库");
inline QString wrongArgumentCount(const QString& command)
{
    return command + QStringLiteral(" 的参数个数不对");
}
inline const QString kInitFailed =
    QStringLiteral("不能打开产品结构数据（Inventory、ProductStructure、ProductStructures）");
inline QString notYetAvailable(const QString& option)
{
    return QStringLiteral("选项 ") + option + QStringLiteral(" 的功能尚未提供");
}
inline QString demoCreated(const QString& database)
{
    return QStringLiteral("演示账套已建立：") + database;
}
inline QString cannotWriteCompany(const QString& database)
{
    return QStringLiteral("账套数据库不能写入，不能导入或替换：") + database;
}
inline QString openedUnwritable(const QString& database)
{
    return QStringLiteral("账套数据库不能写入，已按只读方式打开：") + database;
}
inline QString demoKept(const QString& database)
{
    return QStringLiteral("演示账套已存在，未作改动：") + database;
}
inline QString openedRecordset(const QString& which, bool snapshot, int rows)
{
    return QStringLiteral("已打开") + which + (snapshot ? QStringLiteral("（快照，只读）") : QStringLiteral("（动态集）")) +
           QStringLiteral("：") + QString::number(rows) + QStringLiteral(" 行");
}
inline const QString kParentRecordset = QStringLiteral("父项记录集");
inline const QString kChildRecordset = QStringLiteral("子项记录集");
inline const QString kJoinedRecordset = QStringLiteral("结构记录集");
inline const QString kNoListWindow = QStringLiteral("列表窗口尚未提供，未显示窗口");
inline QString placementAllowed(const QString& parent, const QString& child)
{
    return QStringLiteral("允许：") + child + QStringLiteral(" 可作为 ") + parent + QStringLiteral(" 的子项");
}
inline QString placementCycle(const QString& parent, const QString& child)
{
    return QStringLiteral("循环：") + child + QStringLiteral(" 放在 ") + parent +
           QStringLiteral(" 之下会出现循环调用");
}
inline QString storedLoop(const QStringList& loop)
{
    return QStringLiteral("产品结构出现循环调用：") + loop.join(QStringLiteral(" → "));
}
inline QString storedLoopGroup(const QStringList& loop, qsizetype groupSize)
{
    return storedLoop(loop) + QStringLiteral("（相互调用的产品共 ") + QString::number(groupSize) +
           QStringLiteral(" 个）");
}
inline QString lineChildMissing(const QString& parent, const QString& child)
{
    return QStringLiteral("子项存货不存在：父项 ") + parent + QStringLiteral(" 子项 ") + child;
}
inline QString lineParentMissing(const QString& parent, const QString& child)
{
    return QStringLiteral("父项存货不存在：父项 ") + parent + QStringLiteral(" 子项 ") + child;
}
inline QString lineWithoutHeader(const QString& parent, const QString& child)
{
    return QStringLiteral("子项没有父项结构：父项 ") + parent + QStringLiteral(" 子项 ") + child;
}
inline QString structureWithoutLines(const QString& parent)
{
    return QStringLiteral("产品结构没有子项：") + parent;
}
inline const QString kVerifyClean = QStringLiteral("产品结构数据完整，未发现问题");
inline QString verifyProblems(qsizetype count)
{
    return QStringLiteral("共发现 ") + QString::number(count) + QStringLiteral(" 个问题");
}

// Multi-level explorer: explosion and where-used windows, their exports and command line
inline const QString kCapExplode = QStringLiteral("展开");
inline const QString kTipExplode = QStringLiteral("多级展开选中的产品结构");
inline const QString kCapWhereUsed = QStringLiteral("反查");
inline const QString kTipWhereUsed = QStringLiteral("反查子件用于哪些产品");
inline const QString kExplodeSheet = QStringLiteral("多级展开");
inline const QString kWhereUsedSheet = QStringLiteral("多级反查");
inline const QString kSummarySheet = QStringLiteral("汇总需求");
inline const QString kLevel = QStringLiteral("层次");
inline const QString kPartCode = QStringLiteral("子件编码");
inline const QString kPartName = QStringLiteral("子件名称");
inline const QString kUsingCode = QStringLiteral("父件编码");
inline const QString kUsingName = QStringLiteral("父件名称");
inline const QString kTopCode = QStringLiteral("产品编码");
inline const QString kTopName = QStringLiteral("产品名称");
inline const QString kUnit = QStringLiteral("计量单位");
inline const QString kUnitQuantity = QStringLiteral("单位用量");
inline const QString kCumQuantity = QStringLiteral("累计用量");
inline const QString kCumCost = QStringLiteral("累计成本");
inline const QString kRemark = QStringLiteral("说明");
inline const QString kLoopMark = QStringLiteral("循环");
inline const QString kNoPriceMark = QStringLiteral("缺计划价");
inline const QString kQuantityLabel = QStringLiteral("数量");
inline const QString kItemCodeLabel = QStringLiteral("存货编码");
inline const QString kQuery = QStringLiteral("查询");
inline const QString kExpandAll = QStringLiteral("全部展开");
inline const QString kCollapseAll = QStringLiteral("全部折叠");
inline const QString kExpandToLevel = QStringLiteral("展开到层次");
inline const QString kClose = QStringLiteral("关闭");
inline const QString kExportFilter = QStringLiteral("Excel 工作簿 (*.xlsx);;CSV 文件 (*.csv)");
inline QString missingPrices(int count)
{
    return kNoPriceMark + QStringLiteral(" ") + QString::number(count);
}
inline QString totalCost(const QString& cost)
{
    return QStringLiteral("累计成本合计：") + cost;
}
inline QString topProducts(qsizetype count)
{
    return QStringLiteral("最终产品 ") + QString::number(count) + QStringLiteral(" 个");
}
inline const QString kEmptyItemCode = QStringLiteral("存货编码不能为空！");
inline QString unknownItemCode(const QString& code)
{
    // A pasted page of text is named by its beginning.
    constexpr int kShown = 40;
    const QString shown = code.size() > kShown ? code.left(kShown) + QStringLiteral("…") : code;
    return QStringLiteral("存货编码不存在：") + shown;
}
inline const QString kBadQuantity = QStringLiteral("数量必须是大于零的数字！");
inline QString treeTooLarge(const QString& sheet, long long rows)
{
    return sheet + QStringLiteral("超过 ") + QString::number(rows) +
           QStringLiteral(" 行，一张工作表放不下，只输出了汇总需求。");
}
inline QString expandLimited(int rows)
{
    return QStringLiteral("展开的行数过多，只展开了 ") + QString::number(rows) + QStringLiteral(" 行。");
}

// Structures in bulk: import from a spreadsheet, replacing a component everywhere
inline const QString kImport = QStringLiteral("导入");
inline const QString kTipImport = QStringLiteral("从表格文件导入产品结构");
inline const QString kReplaceComponent = QStringLiteral("替换子件");
inline const QString kTipReplaceComponent = QStringLiteral("在所有产品结构中替换一个子件");
inline const QString kImportReplaceExisting = QStringLiteral("替换已有的产品结构");
inline const QString kImportCheck = QStringLiteral("检查");
inline const QString kImportTemplate = QStringLiteral("模板");
inline const QString kImportChooseFile = QStringLiteral("选择文件…");
inline const QString kImportFile = QStringLiteral("文件：");
inline const QString kImportFileFilter = QStringLiteral("表格文件 (*.xlsx *.csv *.txt);;所有文件 (*)");
inline const QString kTemplateFileFilter = QStringLiteral("XLSX 文件 (*.xlsx)");
inline const QString kReportFileFilter = QStringLiteral("文本文件 (*.txt)");
inline const QString kSaveReport = QStringLiteral("保存报告");
inline const QString kImportReport = QStringLiteral("导入报告");
inline const QString kImportProgress = QStringLiteral("正在检查和导入…");
inline const QString kImportNoFile = QStringLiteral("请先选择要导入的文件！");
inline const QString kImportCancelled = QStringLiteral("已取消导入，没有写入任何数据");
inline const QString kReplaceOld = QStringLiteral("原子件编码：");
inline const QString kReplaceNew = QStringLiteral("新子件编码：");
inline const QString kReplaceFactor = QStringLiteral("数量倍数：");
inline const QString kTemplateSheet = QStringLiteral("产品结构");
inline const QString kFileEmpty = QStringLiteral("文件是空的");
inline const QString kFileNotXlsx = QStringLiteral("文件不是有效的 XLSX 文件（无法作为 zip 打开）");
inline const QString kFileNoSheet = QStringLiteral("XLSX 文件中找不到工作表");
inline const QString kFileBadEncoding =
    QStringLiteral("文件的编码既不是 UTF-8 也不是 GB18030，请另存为 UTF-8 的 CSV 文件");
inline const QString kControlChars = QStringLiteral("含有控制字符，请修改！");
inline const QString kNotANumber = QStringLiteral("不是数字，请修改！");
inline const QString kUnknownCaption = QStringLiteral("不认识的栏目名，请修改！");
inline const QString kRepeatedCaption = QStringLiteral("栏目名重复，请修改！");
inline const QString kCellWithoutCaption = QStringLiteral("该栏没有栏目名，请修改！");
inline const QString kNoDataRows = QStringLiteral("文件中没有数据行");
inline const QString kDepartmentDiffers = QStringLiteral("同一父项的生产部门不一致，请修改！");
inline const QString kNoStructureUses = QStringLiteral("没有使用该子件的产品结构");
inline const QString kFactorNotPositive = QStringLiteral("数量倍数必须大于零！");
inline QString fileUnreadable(const QString& path)
{
    return QStringLiteral("无法读取文件 ") + path;
}
inline QString fileTooLarge(const QString& path, qint64 megabytes)
{
    return QStringLiteral("文件 ") + path + QStringLiteral(" 过大（超过 ") +
           QString::number(megabytes) + QStringLiteral(" MB），请分成几个文件导入");
}
inline QString sheetMalformed(const QString& part, qint64 line, const QString& why)
{
    return QStringLiteral("XLSX 文件的 ") + part + QStringLiteral(" 第 ") + QString::number(line) +
           QStringLiteral(" 行格式错误：") + why;
}
inline QString columnLetter(int column)
{
    QString letters;
    for (int c = column + 1; c > 0; c = (c - 1) / 26) letters.prepend(QChar(u'A' + (c - 1) % 26));
    return letters;
}
inline QString missingCaption(const QString& caption)
{
    return QStringLiteral("缺少必需的栏目“") + caption + QStringLiteral("”");
}
// One refused row of a file: row number, column caption, the value, the card's message.
inline QString refusedRow(int fileRow, const QString& caption, const QString& value,
                          const QString& message)
{
    return QStringLiteral("第 ") + QString::number(fileRow) + QStringLiteral(" 行\t") + caption +
           QStringLiteral("\t“") + value + QStringLiteral("”\t") + message;
}
inline QString importWritten(int parents, int lines)
{
    return QStringLiteral("已导入 ") + QString::number(parents) + QStringLiteral(" 个产品结构，共 ") +
           QString::number(lines) + QStringLiteral(" 行");
}
inline QString importChecked(int parents, int lines)
{
    return QStringLiteral("检查通过：") + QString::number(parents) +
           QStringLiteral(" 个产品结构，共 ") + QString::number(lines) +
           QStringLiteral(" 行，没有写入任何数据");
}
inline QString importRefused(int rows)
{
    return QStringLiteral("有 ") + QString::number(rows) +
           QStringLiteral(" 行被拒绝，没有写入任何数据");
}
inline QString replaceRefusal(const QString& parent, const QString& message)
{
    return QStringLiteral("父项 ") + parent + QStringLiteral("：") + message;
}
inline QString replaceDone(int structures, int lines)
{
    return QStringLiteral("已替换：") + QString::number(structures) +
           QStringLiteral(" 个产品结构，") + QString::number(lines) + QStringLiteral(" 行");
}
inline QString replaceChecked(int structures, int lines)
{
    return QStringLiteral("检查通过：将替换 ") + QString::number(structures) +
           QStringLiteral(" 个产品结构，") + QString::number(lines) +
           QStringLiteral(" 行，没有写入任何数据");
}
inline QString replaceRefused(int structures)
{
    return QStringLiteral("有 ") + QString::number(structures) +
           QStringLiteral(" 个产品结构不能替换，没有写入任何数据");
}
inline QString templateWritten(const QString& path)
{
    return QStringLiteral("已写出导入模板 ") + path;
}
inline const QString kBulkUsage = QStringLiteral(
    "      qxprostru import 数据库 文件.xlsx|文件.csv [--replace] [--dry-run]\n"
    "      qxprostru import-template [数据库] 文件.xlsx\n"
    "      qxprostru replace 数据库 原子件 新子件 [--factor 倍数] [--dry-run]");

}  // namespace qx::text
