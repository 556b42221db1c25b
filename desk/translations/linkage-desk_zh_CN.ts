<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>BalanceTime</name>
    <message>
        <source>No time of day; write 1450 or 14:50:00</source>
        <translation>不是时间；请写 1450 或 14:50:00</translation>
    </message>
    <message>
        <source>%1 is past: it balances nothing today any more</source>
        <translation>%1 已过：今天不再配平</translation>
    </message>
</context>
<context>
    <name>BookText</name>
    <message>
        <source>asked</source>
        <translation>已请求</translation>
    </message>
    <message>
        <source>cancelling</source>
        <translation>撤单中</translation>
    </message>
    <message>
        <source>sent</source>
        <translation>已发送</translation>
    </message>
    <message>
        <source>ended</source>
        <translation>已结束</translation>
    </message>
    <message>
        <source>refused</source>
        <translation>已拒绝</translation>
    </message>
    <message>
        <source>balanced</source>
        <translation>已配平</translation>
    </message>
    <message>
        <source>less than a lot</source>
        <translation>不足一手</translation>
    </message>
    <message>
        <source>no instrument</source>
        <translation>无证券信息</translation>
    </message>
    <message>
        <source>no price</source>
        <translation>没有价格</translation>
    </message>
    <message>
        <source>waiting for open orders</source>
        <translation>等待未完成委托</translation>
    </message>
    <message>
        <source>task running</source>
        <translation>任务运行中</translation>
    </message>
    <message>
        <source>refused by the command center</source>
        <translation>指令中心拒绝</translation>
    </message>
    <message>
        <source>rejected</source>
        <translation>废单</translation>
    </message>
    <message>
        <source>lost: nothing was heard of the order</source>
        <translation>委托下落不明</translation>
    </message>
    <message>
        <source>resting</source>
        <translation>挂单中</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>已撤单</translation>
    </message>
    <message>
        <source>traded since</source>
        <translation>其后又有成交</translation>
    </message>
    <message>
        <source>restart</source>
        <translation>程序重启</translation>
    </message>
    <message>
        <source>new trading date</source>
        <translation>交易日切换</translation>
    </message>
    <message>
        <source>nothing was sent: the book of balances cannot be written</source>
        <translation>未发送：无法写入配平记录</translation>
    </message>
    <message>
        <source>a service of the client did not answer</source>
        <translation>客户端服务无应答</translation>
    </message>
    <message>
        <source>the account is not loaded</source>
        <translation>账户尚未加载</translation>
    </message>
    <message>
        <source>no account data</source>
        <translation>无账户数据</translation>
    </message>
    <message>
        <source>no account info</source>
        <translation>无账户信息</translation>
    </message>
    <message>
        <source>neither a stock nor a credit account</source>
        <translation>非股票或信用账户</translation>
    </message>
    <message>
        <source>nothing was traded</source>
        <translation>没有成交</translation>
    </message>
    <message>
        <source>replaced by balance %1</source>
        <translation>被第 %1 号配平取代</translation>
    </message>
    <message>
        <source>balance %1 is under way</source>
        <translation>第 %1 号配平正在进行</translation>
    </message>
    <message>
        <source>balance %1 balanced the whole account</source>
        <translation>第 %1 号配平已配平整个账户</translation>
    </message>
    <message>
        <source>rounded to whole lots</source>
        <translation>按整手取整</translation>
    </message>
</context>
<context>
    <name>FaultText</name>
    <message>
        <source>field &quot;%1&quot;: %2</source>
        <translation>字段“%1”：%2</translation>
    </message>
    <message>
        <source>%1: missing field &quot;%2&quot;</source>
        <translation>%1：缺少字段“%2”</translation>
    </message>
    <message>
        <source>missing field &quot;%1&quot;</source>
        <translation>缺少字段“%1”</translation>
    </message>
    <message>
        <source>missing field &quot;seconds&quot; or &quot;to&quot;</source>
        <translation>缺少字段“seconds”或“to”</translation>
    </message>
    <message>
        <source>&quot;seconds&quot; and &quot;to&quot; in one line</source>
        <translation>同一行中既有“seconds”又有“to”</translation>
    </message>
    <message>
        <source>wrong type</source>
        <translation>类型不对</translation>
    </message>
    <message>
        <source>wrong type: %1 is needed, not %2</source>
        <translation>类型不对：需要%1，而不是%2</translation>
    </message>
    <message>
        <source>a list</source>
        <translation>列表</translation>
    </message>
    <message>
        <source>an object</source>
        <translation>对象</translation>
    </message>
    <message>
        <source>a text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>true or false</source>
        <translation>真或假</translation>
    </message>
    <message>
        <source>null</source>
        <translation>空值</translation>
    </message>
    <message>
        <source>a number</source>
        <translation>数字</translation>
    </message>
    <message>
        <source>a whole number</source>
        <translation>整数</translation>
    </message>
    <message>
        <source>number out of range: %1</source>
        <translation>数字超出范围：%1</translation>
    </message>
    <message>
        <source>number out of range: %1 is not within %2 to %3</source>
        <translation>数字超出范围：%1 不在 %2 至 %3 之内</translation>
    </message>
    <message>
        <source>number out of range: %1 is less than %2</source>
        <translation>数字超出范围：%1 小于 %2</translation>
    </message>
    <message>
        <source>number out of range: %1 is more than %2</source>
        <translation>数字超出范围：%1 大于 %2</translation>
    </message>
    <message>
        <source>number out of range: time ends in 2106</source>
        <translation>数字超出范围：时间到 2106 年为止</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no date &quot;yyyyMMdd&quot;</source>
        <translation>“%1”不是“yyyyMMdd”形式的日期</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no date and time</source>
        <translation>“%1”不是日期和时间</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no time &quot;hhmm&quot;</source>
        <translation>“%1”不是“hhmm”形式的时间</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has passed</source>
        <translation>“%1”已过</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is neither &quot;%2&quot; nor &quot;%3&quot;</source>
        <translation>“%1”既不是“%2”也不是“%3”</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no service</source>
        <translation>“%1”不是服务</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no kind of fault</source>
        <translation>“%1”不是故障类型</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no step of the disk</source>
        <translation>“%1”不是磁盘步骤</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no error of the disk</source>
        <translation>“%1”不是磁盘错误</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no plain file name</source>
        <translation>“%1”不是普通文件名</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is unknown</source>
        <translation>“%1”未知</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be written: %2</source>
        <translation>“%1”无法写入：%2</translation>
    </message>
    <message>
        <source>the list has more than %1 values</source>
        <translation>列表多于 %1 个值</translation>
    </message>
    <message>
        <source>value %1 of the list is missing</source>
        <translation>列表缺少第 %1 个值</translation>
    </message>
    <message>
        <source>a book has at most %1 levels</source>
        <translation>盘口最多 %1 档</translation>
    </message>
    <message>
        <source>unknown &quot;do&quot;: &quot;%1&quot;</source>
        <translation>未知的“do”：“%1”</translation>
    </message>
    <message>
        <source>unknown &quot;op&quot;: &quot;%1&quot;</source>
        <translation>未知的“op”：“%1”</translation>
    </message>
    <message>
        <source>%1 takes %2 arguments, not %3</source>
        <translation>%1 需要 %2 个参数，而不是 %3 个</translation>
    </message>
    <message>
        <source>%1 to %2</source>
        <translation>%1 至 %2</translation>
    </message>
    <message>
        <source>account &quot;%1&quot; has no &quot;account&quot; line</source>
        <translation>账户“%1”没有“account”行</translation>
    </message>
    <message>
        <source>&quot;%1&quot; needs the paper exchange</source>
        <translation>“%1”需要模拟交易所</translation>
    </message>
    <message>
        <source>&quot;%1&quot; without a manager</source>
        <translation>没有管理器时的“%1”</translation>
    </message>
    <message>
        <source>&quot;%1&quot; before &quot;config&quot;</source>
        <translation>“config”之前的“%1”</translation>
    </message>
    <message>
        <source>a second &quot;config&quot;</source>
        <translation>第二个“config”</translation>
    </message>
    <message>
        <source>there is no command %1</source>
        <translation>没有 %1 号指令</translation>
    </message>
    <message>
        <source>a line must be a JSON object</source>
        <translation>每行必须是一个 JSON 对象</translation>
    </message>
    <message>
        <source>not JSON: %1</source>
        <translation>不是 JSON：%1</translation>
    </message>
    <message>
        <source>This parser can&apos;t support a document that big</source>
        <translation>文档太大</translation>
    </message>
    <message>
        <source>Error allocating memory, we&apos;re most likely out of memory</source>
        <translation>内存不足</translation>
    </message>
    <message>
        <source>The JSON document has an improper structure: missing or superfluous commas, braces, missing keys, etc.</source>
        <translation>结构不对：缺少或多出逗号、括号，或缺少键</translation>
    </message>
    <message>
        <source>The JSON document was too deep (too many nested objects and arrays)</source>
        <translation>嵌套太深</translation>
    </message>
    <message>
        <source>Problem while parsing a string</source>
        <translation>文本有误</translation>
    </message>
    <message>
        <source>Problem while parsing an atom starting with the letter &apos;%1&apos;</source>
        <translation>以字母“%1”开头的值有误</translation>
    </message>
    <message>
        <source>Problem while parsing a number</source>
        <translation>数字有误</translation>
    </message>
    <message>
        <source>The input is not valid UTF-8</source>
        <translation>不是有效的 UTF-8</translation>
    </message>
    <message>
        <source>Empty: no JSON found</source>
        <translation>内容为空</translation>
    </message>
    <message>
        <source>Within strings, some characters must be escaped, we found unescaped characters</source>
        <translation>文本中有未转义的字符</translation>
    </message>
    <message>
        <source>A string is opened, but never closed.</source>
        <translation>文本没有结束引号</translation>
    </message>
    <message>
        <source>compressed data: %1</source>
        <translation>压缩数据：%1</translation>
    </message>
    <message>
        <source>unexpected end of file</source>
        <translation>文件意外结束</translation>
    </message>
    <message>
        <source>damaged</source>
        <translation>已损坏</translation>
    </message>
    <message>
        <source>incorrect header check</source>
        <translation>文件头校验错误</translation>
    </message>
    <message>
        <source>unknown compression method</source>
        <translation>未知的压缩方法</translation>
    </message>
    <message>
        <source>invalid window size</source>
        <translation>窗口大小无效</translation>
    </message>
    <message>
        <source>unknown header flags set</source>
        <translation>文件头标志未知</translation>
    </message>
    <message>
        <source>header crc mismatch</source>
        <translation>文件头校验和不符</translation>
    </message>
    <message>
        <source>invalid block type</source>
        <translation>数据块类型无效</translation>
    </message>
    <message>
        <source>invalid stored block lengths</source>
        <translation>存储块长度无效</translation>
    </message>
    <message>
        <source>too many length or distance symbols</source>
        <translation>长度或距离符号过多</translation>
    </message>
    <message>
        <source>invalid code lengths set</source>
        <translation>编码长度集无效</translation>
    </message>
    <message>
        <source>invalid bit length repeat</source>
        <translation>位长重复无效</translation>
    </message>
    <message>
        <source>invalid code -- missing end-of-block</source>
        <translation>编码无效，缺少块结束符</translation>
    </message>
    <message>
        <source>invalid literal/lengths set</source>
        <translation>字面或长度集无效</translation>
    </message>
    <message>
        <source>invalid distances set</source>
        <translation>距离集无效</translation>
    </message>
    <message>
        <source>invalid literal/length code</source>
        <translation>字面或长度编码无效</translation>
    </message>
    <message>
        <source>invalid distance code</source>
        <translation>距离编码无效</translation>
    </message>
    <message>
        <source>invalid distance too far back</source>
        <translation>距离过远</translation>
    </message>
    <message>
        <source>incorrect data check</source>
        <translation>数据校验错误</translation>
    </message>
    <message>
        <source>incorrect length check</source>
        <translation>长度校验错误</translation>
    </message>
    <message>
        <source>No such file or directory</source>
        <translation>没有这样的文件或目录</translation>
    </message>
    <message>
        <source>Permission denied</source>
        <translation>没有权限</translation>
    </message>
    <message>
        <source>Is a directory</source>
        <translation>这是一个目录</translation>
    </message>
    <message>
        <source>Not a directory</source>
        <translation>不是目录</translation>
    </message>
    <message>
        <source>Input/output error</source>
        <translation>输入输出错误</translation>
    </message>
    <message>
        <source>Too many open files</source>
        <translation>打开的文件过多</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>磁盘空间不足</translation>
    </message>
    <message>
        <source>Read-only file system</source>
        <translation>文件系统只读</translation>
    </message>
    <message>
        <source>Disk quota exceeded</source>
        <translation>超出磁盘配额</translation>
    </message>
    <message>
        <source>File name too long</source>
        <translation>文件名太长</translation>
    </message>
    <message>
        <source>Too many levels of symbolic links</source>
        <translation>符号链接层数过多</translation>
    </message>
    <message>
        <source>Value too large for defined data type</source>
        <translation>文件太大</translation>
    </message>
    <message>
        <source>Stale file handle</source>
        <translation>文件句柄已失效</translation>
    </message>
    <message>
        <source>no temporary directory can be made: %1</source>
        <translation>无法建立临时目录：%1</translation>
    </message>
    <message>
        <source>the service %1 failed</source>
        <translation>服务 %1 出错</translation>
    </message>
    <message>
        <source>no order</source>
        <translation>没有委托</translation>
    </message>
    <message>
        <source>no connection</source>
        <translation>没有连接</translation>
    </message>
    <message>
        <source>is no recording: &quot;recorded&quot; is missing</source>
        <translation>不是录制数据：缺少“recorded”</translation>
    </message>
    <message>
        <source>&quot;%1&quot; has no microseconds</source>
        <translation>“%1”没有微秒</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no place in the directory</source>
        <translation>“%1”不在该目录之内</translation>
    </message>
    <message>
        <source>%1 cannot be written</source>
        <translation>无法写入 %1</translation>
    </message>
    <message>
        <source>&quot;picture&quot; behind a step</source>
        <translation>“picture”出现在步骤之后</translation>
    </message>
    <message>
        <source>%1 is no work that can wait</source>
        <translation>%1不是可以等待的工作</translation>
    </message>
    <message>
        <source>a step before &quot;config&quot;</source>
        <translation>“config”之前出现了步骤</translation>
    </message>
    <message>
        <source>no such step goes on</source>
        <translation>没有这样一个仍在进行的步骤</translation>
    </message>
    <message>
        <source>a mark without a step</source>
        <translation>标记没有对应的步骤</translation>
    </message>
    <message>
        <source>&quot;%1&quot; without a step</source>
        <translation>“%1”没有对应的步骤</translation>
    </message>
    <message>
        <source>there is no such record</source>
        <translation>没有这条记录</translation>
    </message>
    <message>
        <source>no step has left this work</source>
        <translation>没有步骤留下这项工作</translation>
    </message>
    <message>
        <source>the statement cannot be written: %1</source>
        <translation>无法写入对账单：%1</translation>
    </message>
    <message>
        <source>is no answer to &quot;%1&quot;</source>
        <translation>不是“%1”的答复</translation>
    </message>
    <message>
        <source>there is no memory</source>
        <translation>内存不足</translation>
    </message>
    <message>
        <source>the disk cannot follow</source>
        <translation>磁盘写入跟不上</translation>
    </message>
    <message>
        <source>the file has its full size</source>
        <translation>文件已达到大小上限</translation>
    </message>
    <message>
        <source>the file cannot be made: %1</source>
        <translation>无法建立文件：%1</translation>
    </message>
</context>
<context>
    <name>ImportText</name>
    <message>
        <source>a service of the client failed</source>
        <translation>客户端的一项服务出错</translation>
    </message>
    <message>
        <source>the library is not running</source>
        <translation>程序库未在运行</translation>
    </message>
    <message>
        <source>no file was chosen</source>
        <translation>没有选择文件</translation>
    </message>
    <message>
        <source>this is not a plain file</source>
        <translation>这不是普通文件</translation>
    </message>
    <message>
        <source>the file does not exist</source>
        <translation>文件不存在</translation>
    </message>
    <message>
        <source>the file cannot be opened: %1</source>
        <translation>无法打开文件：%1</translation>
    </message>
    <message>
        <source>the file cannot be read: %1</source>
        <translation>无法读取文件：%1</translation>
    </message>
    <message>
        <source>the file is larger than %1 MB</source>
        <translation>文件大于 %1 MB</translation>
    </message>
    <message>
        <source>the file is empty</source>
        <translation>文件是空的</translation>
    </message>
    <message>
        <source>the file is neither a workbook nor a text</source>
        <translation>文件既不是工作簿，也不是文本</translation>
    </message>
    <message>
        <source>the file is a web page or XML; save it as a workbook</source>
        <translation>文件是网页或 XML，请另存为工作簿</translation>
    </message>
    <message>
        <source>the file has too much text</source>
        <translation>文件中的文字过多</translation>
    </message>
    <message>
        <source>the file has more than %1 rows</source>
        <translation>文件超过 %1 行</translation>
    </message>
    <message>
        <source>the file has more than %1 columns</source>
        <translation>文件超过 %1 列</translation>
    </message>
    <message>
        <source>the file has more than %1 cells</source>
        <translation>文件超过 %1 个单元格</translation>
    </message>
    <message>
        <source>a cell has more than %1 characters</source>
        <translation>有单元格超过 %1 个字符</translation>
    </message>
    <message>
        <source>the file holds no workbook</source>
        <translation>文件中没有工作簿</translation>
    </message>
    <message>
        <source>there is not enough memory to read the file</source>
        <translation>内存不足，无法读取文件</translation>
    </message>
    <message>
        <source>the text is not valid UTF-16</source>
        <translation>文本不是有效的 UTF-16</translation>
    </message>
    <message>
        <source>the text is neither valid UTF-8 nor valid GB18030</source>
        <translation>文本既不是有效的 UTF-8，也不是有效的 GB18030</translation>
    </message>
    <message>
        <source>the archive is not a workbook</source>
        <translation>压缩包不是工作簿</translation>
    </message>
    <message>
        <source>the workbook has no sheets</source>
        <translation>工作簿没有工作表</translation>
    </message>
    <message>
        <source>the workbook has more than %1 sheets</source>
        <translation>工作簿超过 %1 个工作表</translation>
    </message>
    <message>
        <source>the workbook has more than %1 parts</source>
        <translation>工作簿超过 %1 个部件</translation>
    </message>
    <message>
        <source>the workbook unpacks to more than %1 MB</source>
        <translation>工作簿解压后大于 %1 MB</translation>
    </message>
    <message>
        <source>the workbook is protected by a password</source>
        <translation>工作簿有密码保护</translation>
    </message>
    <message>
        <source>the workbook&apos;s format is too old; save it anew</source>
        <translation>工作簿格式过旧，请重新保存</translation>
    </message>
    <message>
        <source>the workbook&apos;s archive is broken</source>
        <translation>工作簿的压缩包已损坏</translation>
    </message>
    <message>
        <source>the workbook is broken: %1</source>
        <translation>工作簿已损坏：%1</translation>
    </message>
    <message>
        <source>the workbook is broken: its container is damaged</source>
        <translation>工作簿已损坏：容器受损</translation>
    </message>
    <message>
        <source>the workbook is broken: its records are damaged</source>
        <translation>工作簿已损坏：记录受损</translation>
    </message>
    <message>
        <source>cell &quot;%1&quot;</source>
        <translation>单元格“%1”</translation>
    </message>
    <message>
        <source>missing text</source>
        <translation>缺少文字</translation>
    </message>
    <message>
        <source>endless text</source>
        <translation>文字没有结尾</translation>
    </message>
    <message>
        <source>document type</source>
        <translation>含文档类型声明</translation>
    </message>
    <message>
        <source>nested too deep</source>
        <translation>嵌套过深</translation>
    </message>
    <message>
        <source>not in UTF-8</source>
        <translation>不是 UTF-8</translation>
    </message>
    <message>
        <source>a tag with more than %1 attributes</source>
        <translation>有标签超过 %1 个属性</translation>
    </message>
    <message>
        <source>no row of column names was found in the first %1 rows</source>
        <translation>前 %1 行中没有找到列名</translation>
    </message>
    <message>
        <source>columns are missing: %1</source>
        <translation>缺少列：%1</translation>
    </message>
    <message>
        <source>%1 (left out because of the unit: %2)</source>
        <translation>%1（因单位未采用：%2）</translation>
    </message>
    <message>
        <source>column %1 was left out because of its unit</source>
        <translation>列 %1 因单位未采用</translation>
    </message>
    <message>
        <source>sheet &quot;%1&quot; was left out</source>
        <translation>工作表“%1”未采用</translation>
    </message>
    <message>
        <source>the rows have no dates, and the title names several</source>
        <translation>各行没有日期，而标题中有多个日期</translation>
    </message>
    <message>
        <source>the file names no day; rows without a date are taken for %1</source>
        <translation>文件没有写明日期，没有日期的行视为 %1</translation>
    </message>
    <message>
        <source>rows without a date are taken for %1, the day in the title</source>
        <translation>没有日期的行视为标题中的日期 %1</translation>
    </message>
    <message>
        <source>the column names again</source>
        <translation>重复的列名</translation>
    </message>
    <message>
        <source>belongs to another table</source>
        <translation>属于另一个表</translation>
    </message>
    <message>
        <source>no account is followed</source>
        <translation>没有跟踪任何账户</translation>
    </message>
    <message>
        <source>the row names no account</source>
        <translation>该行没有写明账户</translation>
    </message>
    <message>
        <source>the file names no account, and several are followed</source>
        <translation>文件没有写明账户，而跟踪的账户有多个</translation>
    </message>
    <message>
        <source>the file is of account %1, which is not followed</source>
        <translation>文件属于账户 %1，该账户未被跟踪</translation>
    </message>
    <message>
        <source>the file names account %1; it was taken for %2</source>
        <translation>文件写明账户 %1，已视为 %2</translation>
    </message>
    <message>
        <source>account %1 is not followed</source>
        <translation>账户 %1 未被跟踪</translation>
    </message>
    <message>
        <source>account %1 may be one of several that are followed</source>
        <translation>账户 %1 可能是所跟踪的多个账户之一</translation>
    </message>
    <message>
        <source>already reported by the trading system</source>
        <translation>交易系统已回报</translation>
    </message>
    <message>
        <source>repurchase or subscription, which is not followed</source>
        <translation>回购或申购，不予跟踪</translation>
    </message>
    <message>
        <source>all sheets of the workbook are hidden</source>
        <translation>工作簿的所有工作表都已隐藏</translation>
    </message>
    <message>
        <source>sheet &quot;%1&quot; is hidden and was left out</source>
        <translation>工作表“%1”已隐藏，未采用</translation>
    </message>
    <message>
        <source>sheet &quot;%1&quot; repeats rows of sheet &quot;%2&quot;; they count once</source>
        <translation>工作表“%1”与工作表“%2”有相同的行，只计一次</translation>
    </message>
    <message>
        <source>stands on sheet &quot;%1&quot; already</source>
        <translation>工作表“%1”中已有</translation>
    </message>
    <message>
        <source>it is not clear whether this is a list of deals or of orders</source>
        <translation>无法确定这是成交列表还是委托列表</translation>
    </message>
    <message>
        <source>the file holds sums or another list, no single trades</source>
        <translation>文件是汇总或其他列表，没有逐笔记录</translation>
    </message>
    <message>
        <source>a second table to the right of the first was left out</source>
        <translation>第一张表右侧的第二张表未采用</translation>
    </message>
    <message>
        <source>in another currency: %1</source>
        <translation>其他币种：%1</translation>
    </message>
    <message>
        <source>a sum, no trade: %1</source>
        <translation>合计行，不是记录：%1</translation>
    </message>
    <message>
        <source>the row has more cells than there are column names</source>
        <translation>该行的单元格多于列名</translation>
    </message>
    <message>
        <source>the account in the heading is not understood</source>
        <translation>标题中的账户无法识别</translation>
    </message>
    <message>
        <source>the side is not understood: %1</source>
        <translation>买卖方向无法识别：%1</translation>
    </message>
    <message>
        <source>%1 rows name a side that is not understood</source>
        <translation>有 %1 行的买卖方向无法识别</translation>
    </message>
    <message>
        <source>not a deal: a sale taken back</source>
        <translation>不是成交：卖出冲回</translation>
    </message>
    <message>
        <source>the lot of %1 is not known</source>
        <translation>%1 的每手数量未知</translation>
    </message>
    <message>
        <source>code %1 is not one of market %2</source>
        <translation>代码 %1 不属于市场 %2</translation>
    </message>
    <message>
        <source>traded %1 of %2 shares and cancelled</source>
        <translation>%2 股中成交了 %1 股，却又撤单</translation>
    </message>
    <message>
        <source>traded %1 of %2 shares and done</source>
        <translation>%2 股中只成交了 %1 股，却为已成</translation>
    </message>
    <message>
        <source>taken for a deal that the trading system reported</source>
        <translation>与交易系统已报告的成交视为同一笔</translation>
    </message>
    <message>
        <source>%1 rows were taken for trades of earlier statements</source>
        <translation>有 %1 行与先前对账单中的记录视为同一笔</translation>
    </message>
    <message>
        <source>the import is not saved yet; it would be lost at a restart</source>
        <translation>此次导入尚未保存，重新启动后会丢失</translation>
    </message>
    <message>
        <source>the import is too large to be saved; it is lost at a restart</source>
        <translation>此次导入过大，无法保存，重新启动后会丢失</translation>
    </message>
    <message>
        <source>no number is so long: %1</source>
        <translation>编号过长：%1</translation>
    </message>
    <message>
        <source>a line has more than %1 columns</source>
        <translation>一行超过 %1 列</translation>
    </message>
    <message>
        <source>the web page is broken</source>
        <translation>网页已损坏</translation>
    </message>
    <message>
        <source>the web page has tables inside tables</source>
        <translation>网页的表格中含有表格</translation>
    </message>
    <message>
        <source>the web page has cells of several rows</source>
        <translation>网页中有跨行的单元格</translation>
    </message>
    <message>
        <source>%1 more rows were left out than are listed</source>
        <translation>另有 %1 行未采用，没有列出</translation>
    </message>
    <message>
        <source>price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>traded volume</source>
        <translation>成交数量</translation>
    </message>
    <message>
        <source>amount</source>
        <translation>金额</translation>
    </message>
    <message>
        <source>no %1</source>
        <translation>没有%1</translation>
    </message>
    <message>
        <source>no code</source>
        <translation>没有代码</translation>
    </message>
    <message>
        <source>no date</source>
        <translation>没有日期</translation>
    </message>
    <message>
        <source>%1 is not a number: %2</source>
        <translation>%1不是数字：%2</translation>
    </message>
    <message>
        <source>%1 is not whole: %2</source>
        <translation>%1不是整数：%2</translation>
    </message>
    <message>
        <source>%1 is out of range: %2</source>
        <translation>%1超出范围：%2</translation>
    </message>
    <message>
        <source>price is out of range: %1</source>
        <translation>价格超出范围：%1</translation>
    </message>
    <message>
        <source>amount is out of range: %1</source>
        <translation>金额超出范围：%1</translation>
    </message>
    <message>
        <source>amount %1 is not that of %2 at %3</source>
        <translation>金额 %1 与数量 %2、价格 %3 不符</translation>
    </message>
    <message>
        <source>a purchase of %1 shares</source>
        <translation>买入 %1 股</translation>
    </message>
    <message>
        <source>a day that has not come yet: %1</source>
        <translation>日期尚未到来：%1</translation>
    </message>
    <message>
        <source>no stock of Shanghai, Shenzhen or Beijing: %1</source>
        <translation>不是上海、深圳或北京的股票：%1</translation>
    </message>
    <message>
        <source>not a date: %1</source>
        <translation>不是日期：%1</translation>
    </message>
    <message>
        <source>not a time: %1</source>
        <translation>不是时间：%1</translation>
    </message>
    <message>
        <source>not a deal: %1</source>
        <translation>不是成交：%1</translation>
    </message>
    <message>
        <source>not a deal: no side</source>
        <translation>不是成交：没有买卖方向</translation>
    </message>
    <message>
        <source>not a deal: price 0</source>
        <translation>不是成交：价格为 0</translation>
    </message>
    <message>
        <source>not a deal: volume 0</source>
        <translation>不是成交：数量为 0</translation>
    </message>
    <message>
        <source>not a deal: amount 0</source>
        <translation>不是成交：金额为 0</translation>
    </message>
    <message>
        <source>not an order: %1</source>
        <translation>不是委托：%1</translation>
    </message>
    <message>
        <source>not an order: volume 0</source>
        <translation>不是委托：数量为 0</translation>
    </message>
    <message>
        <source>traded %1 of %2 shares</source>
        <translation>%2 股中成交了 %1 股</translation>
    </message>
    <message>
        <source>two sides: %1, %2</source>
        <translation>买卖方向矛盾：%1、%2</translation>
    </message>
    <message>
        <source>unknown status: %1</source>
        <translation>未知状态：%1</translation>
    </message>
    <message>
        <source>the import is not what was shown any more</source>
        <translation>要导入的内容与所显示的不再一致</translation>
    </message>
    <message>
        <source>no answer</source>
        <translation>没有应答</translation>
    </message>
    <message>
        <source>error %1 %2</source>
        <translation>错误 %1 %2</translation>
    </message>
    <message>
        <source>no such day</source>
        <translation>没有这一天</translation>
    </message>
    <message>
        <source>no such account</source>
        <translation>没有这个账户</translation>
    </message>
    <message>
        <source>the last day has not come yet</source>
        <translation>最后一天尚未到来</translation>
    </message>
    <message>
        <source>the first day is before any exchange</source>
        <translation>第一天早于所有交易所</translation>
    </message>
    <message>
        <source>the first day is after the last</source>
        <translation>第一天晚于最后一天</translation>
    </message>
    <message>
        <source>records of the running day come with its reports</source>
        <translation>当日的记录随回报到来</translation>
    </message>
</context>
<context>
    <name>Tables</name>
    <message>
        <source>Server</source>
        <translation>服务器</translation>
    </message>
    <message>
        <source>Client</source>
        <translation>客户端</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Last</source>
        <translation>最新价</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Bought amount</source>
        <translation>买入金额</translation>
    </message>
    <message>
        <source>Sold amount</source>
        <translation>卖出金额</translation>
    </message>
    <message>
        <source>Commission</source>
        <translation>手续费</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Position value</source>
        <translation>持仓市值</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Traded</source>
        <translation>已成交</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>金额</translation>
    </message>
    <message>
        <source>Task</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Remark</source>
        <translation>备注</translation>
    </message>
    <message>
        <source>balances earlier days</source>
        <translation>历史配平</translation>
    </message>
    <message>
        <source>Runs on</source>
        <translation>运行于</translation>
    </message>
    <message>
        <source>Open lots</source>
        <translation>挂单手数</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Deals</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Net bought</source>
        <translation>净买入</translation>
    </message>
    <message>
        <source>No orders of this stock yet</source>
        <translation>该股票尚无委托</translation>
    </message>
    <message>
        <source>No deals of this stock yet</source>
        <translation>该股票尚无成交</translation>
    </message>
    <message>
        <source>No tasks of this stock</source>
        <translation>该股票没有任务</translation>
    </message>
    <message>
        <source>No lots of this stock rest at the exchange</source>
        <translation>该股票没有挂单</translation>
    </message>
    <message>
        <source>up, valued one limit higher</source>
        <translation>涨停，按再高一档涨停估值</translation>
    </message>
    <message>
        <source>up</source>
        <translation>涨停</translation>
    </message>
    <message>
        <source>down, valued one limit lower</source>
        <translation>跌停，按再低一档跌停估值</translation>
    </message>
    <message>
        <source>down</source>
        <translation>跌停</translation>
    </message>
    <message>
        <source>market</source>
        <translation>市价</translation>
    </message>
    <message>
        <source>Buy and sell</source>
        <translation>买和卖</translation>
    </message>
    <message>
        <source>Change</source>
        <translation>涨跌幅</translation>
    </message>
    <message>
        <source>Limit</source>
        <translation>涨跌停</translation>
    </message>
    <message>
        <source>Bid</source>
        <translation>买一</translation>
    </message>
    <message>
        <source>Ask</source>
        <translation>卖一</translation>
    </message>
    <message>
        <source>Nothing traded today</source>
        <translation>今天没有成交</translation>
    </message>
    <message>
        <source>First seen</source>
        <translation>首见时间</translation>
    </message>
    <message>
        <source>Orders carry no time. This is when the first report of the order came; empty: before the desk was there</source>
        <translation>委托记录中没有时间。这里是收到该委托首个回报的时间；空白表示早于本程序启动</translation>
    </message>
</context>
<context>
    <name>desk::CAccountPage</name>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Market value</source>
        <translation>市值</translation>
    </message>
    <message>
        <source>Of the positions, at the newest price</source>
        <translation>持仓按最新价计算</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Of the positions, against their cost</source>
        <translation>持仓相对成本的盈亏</translation>
    </message>
    <message>
        <source>Profit of the day</source>
        <translation>当日盈亏</translation>
    </message>
    <message>
        <source>Of what was traded today</source>
        <translation>当日成交部分的盈亏</translation>
    </message>
    <message>
        <source>Frozen</source>
        <translation>冻结</translation>
    </message>
    <message>
        <source>What running buy orders may still take, at their prices</source>
        <translation>在途买单按委托价还可能占用的金额</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Commission</source>
        <translation>手续费</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>As the client reported it last</source>
        <translation>以客户端最近一次上报为准</translation>
    </message>
    <message>
        <source>Sellable</source>
        <translation>可卖</translation>
    </message>
    <message>
        <source>Cost</source>
        <translation>成本价</translation>
    </message>
    <message>
        <source>Last</source>
        <translation>最新价</translation>
    </message>
    <message>
        <source>Net bought today</source>
        <translation>当日净买入</translation>
    </message>
    <message>
        <source>By the deals of the day, whether or not the position has them</source>
        <translation>按当日成交计算，不论持仓是否已包含</translation>
    </message>
    <message>
        <source>The client has reported no position of this account</source>
        <translation>客户端未上报该账户的持仓</translation>
    </message>
    <message>
        <source>The client&apos;s records hold no cash: what is available, and the total, are not known here.</source>
        <translation>客户端的记录中没有现金：可用资金和总资产在此未知。</translation>
    </message>
    <message>
        <source>Positions of %1</source>
        <translation>%1 的持仓</translation>
    </message>
</context>
<context>
    <name>desk::CBalanceTimesPage</name>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Balanced at</source>
        <translation>配平时间</translation>
    </message>
    <message>
        <source>Set time</source>
        <translation>设定时间</translation>
    </message>
    <message>
        <source>%1 / %2 at</source>
        <translation>%1 / %2 于</translation>
    </message>
    <message>
        <source>Choose a strategy to give it a time</source>
        <translation>请先选择策略，再设定时间</translation>
    </message>
    <message>
        <source>No strategy has a balance time</source>
        <translation>没有策略设了配平时间</translation>
    </message>
    <message>
        <source>Delete row…</source>
        <translation>删除此行…</translation>
    </message>
    <message>
        <source>Delete a balance time</source>
        <translation>删除配平时间</translation>
    </message>
    <message>
        <source>Delete the balance time of %1? It will not be balanced by itself any more.</source>
        <translation>删除 %1 的配平时间？此后不再自动配平。</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
</context>
<context>
    <name>desk::CBalancesPage</name>
    <message>
        <source>whole account</source>
        <translation>整个账户</translation>
    </message>
    <message>
        <source>%1, earlier days</source>
        <translation>%1（历史）</translation>
    </message>
    <message>
        <source>No.</source>
        <translation>编号</translation>
    </message>
    <message>
        <source>Asked</source>
        <translation>请求时间</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>State</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>撤单</translation>
    </message>
    <message>
        <source>Sent</source>
        <translation>发送量</translation>
    </message>
    <message>
        <source>Filled</source>
        <translation>成交量</translation>
    </message>
    <message>
        <source>Still unequal</source>
        <translation>尚未配平</translation>
    </message>
    <message>
        <source>cancelling: %1 of %2 done</source>
        <translation>撤单中：已完成 %1，共 %2</translation>
    </message>
    <message>
        <source>sent, filled %1 of %2</source>
        <translation>已发送，成交 %1，共 %2</translation>
    </message>
    <message>
        <source>asked, starts in %1 s</source>
        <translation>已请求，%1 秒后开始</translation>
    </message>
    <message>
        <source>asked, waits for its turn</source>
        <translation>已请求，等待轮到</translation>
    </message>
    <message>
        <source>Asked for by</source>
        <translation>发起方</translation>
    </message>
    <message>
        <source>Nothing was balanced today</source>
        <translation>今日没有配平</translation>
    </message>
    <message>
        <source>the trader</source>
        <translation>交易员</translation>
    </message>
    <message>
        <source>the strategy&apos;s balance time</source>
        <translation>策略配平时间</translation>
    </message>
    <message>
        <source>the account&apos;s balance time</source>
        <translation>账户配平时间</translation>
    </message>
    <message>
        <source>the recording</source>
        <translation>录制数据</translation>
    </message>
    <message>
        <source>the client, automatically</source>
        <translation>客户端自动</translation>
    </message>
</context>
<context>
    <name>desk::CChart</name>
    <message>
        <source>all strategies</source>
        <translation>全部策略</translation>
    </message>
    <message>
        <source>Profit of %1 / %2 over the day (yuan)</source>
        <translation>%1 / %2 当日盈亏（元）</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Price of %1 (yuan), with the deals and resting orders of the strategy</source>
        <translation>%1 价格（元），及该策略的成交与挂单</translation>
    </message>
    <message>
        <source>Price of %1 (yuan)</source>
        <translation>%1 价格（元）</translation>
    </message>
    <message>
        <source>Price %1</source>
        <translation>价格 %1</translation>
    </message>
    <message>
        <source>Profit %1</source>
        <translation>盈亏 %1</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Choose a stock</source>
        <translation>请选择股票</translation>
    </message>
    <message>
        <source>No price of the stock has come yet</source>
        <translation>尚未收到该股票的行情</translation>
    </message>
    <message>
        <source>Choose a strategy</source>
        <translation>请选择策略</translation>
    </message>
    <message>
        <source>%1; %2 price levels have no label</source>
        <translation>%1；%2 个价位没有标签</translation>
    </message>
    <message>
        <source>No profit yet: the day has no figures of it</source>
        <translation>还没有盈亏：当天没有相关数据</translation>
    </message>
</context>
<context>
    <name>desk::CEngine</name>
    <message>
        <source>The run was stopped by a fault: %1</source>
        <translation>运行因故障停止：%1</translation>
    </message>
    <message>
        <source>it does not run any more</source>
        <translation>该委托已不在运行</translation>
    </message>
    <message>
        <source>the trading server was not asked</source>
        <translation>没有向交易服务器提出请求</translation>
    </message>
    <message>
        <source>A recording shows what was: nothing can be sent or changed.</source>
        <translation>录制数据显示的是已经发生的事：不能发送，也不能更改。</translation>
    </message>
</context>
<context>
    <name>desk::CEventsPage</name>
    <message>
        <source>Connected, not logged in yet</source>
        <translation>已连接，尚未登录</translation>
    </message>
    <message>
        <source>The login failed</source>
        <translation>登录失败</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>已登录</translation>
    </message>
    <message>
        <source>The connection is lost</source>
        <translation>连接断开</translation>
    </message>
    <message>
        <source>Rejected: an order of %1 in %2 %3</source>
        <translation>废单：%1 的 %2 委托 %3</translation>
    </message>
    <message>
        <source>%1 was loaded again: missed orders %2, deals %3, positions %4</source>
        <translation>%1 重新加载：遗漏委托 %2，成交 %3，持仓 %4</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Event</source>
        <translation>事件</translation>
    </message>
    <message>
        <source>Nothing has happened yet</source>
        <translation>还没有事件</translation>
    </message>
    <message>
        <source>(%1 times since %2)</source>
        <translation>（自 %2 起共 %1 次）</translation>
    </message>
    <message>
        <source>Balance %1 of %2 / %3 (%4): %5</source>
        <translation>第 %1 号配平 %2 / %3（%4）：%5</translation>
    </message>
    <message>
        <source>Service fault: %1</source>
        <translation>服务故障：%1</translation>
    </message>
    <message>
        <source>Disk fault: %1</source>
        <translation>磁盘故障：%1</translation>
    </message>
    <message>
        <source>The recording was played to its end</source>
        <translation>录制数据已播放完毕</translation>
    </message>
    <message>
        <source>The recording stopped: %1</source>
        <translation>录制数据播放中止：%1</translation>
    </message>
    <message>
        <source>The recording breaks off here: its writer was ended, or still writes</source>
        <translation>录制数据在此中断：录制的程序被终止，或仍在录制</translation>
    </message>
    <message>
        <source>This library does something else than the recording says: first at %1, line %2</source>
        <translation>本程序的行为与录制数据不同：最早在 %1，第 %2 行</translation>
    </message>
    <message>
        <source>Not recorded any more: %1</source>
        <translation>不再录制：%1</translation>
    </message>
</context>
<context>
    <name>desk::CHistoryPage</name>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Difference</source>
        <translation>差额</translation>
    </message>
    <message>
        <source>Bought amount</source>
        <translation>买入金额</translation>
    </message>
    <message>
        <source>Sold amount</source>
        <translation>卖出金额</translation>
    </message>
    <message>
        <source>Carry over today</source>
        <translation>结转今日</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>全部删除…</translation>
    </message>
    <message>
        <source>%1 was carried over into the history.</source>
        <translation>%1 已结转到历史。</translation>
    </message>
    <message>
        <source>%1 was carried over today already.</source>
        <translation>%1 今日已结转过。</translation>
    </message>
    <message>
        <source>Delete history</source>
        <translation>删除历史</translation>
    </message>
    <message>
        <source>Delete the whole history store? This cannot be undone.</source>
        <translation>确定删除全部历史数据？此操作无法撤销。</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Nothing was carried over from earlier days</source>
        <translation>没有以前各日结转的记录</translation>
    </message>
    <message>
        <source>Delete stock…</source>
        <translation>删除股票…</translation>
    </message>
    <message>
        <source>Delete balanced…</source>
        <translation>删除已配平…</translation>
    </message>
    <message>
        <source>Delete all pairs whose totals are balanced? This cannot be undone.</source>
        <translation>删除所有已配平的历史？此操作无法撤销。</translation>
    </message>
    <message>
        <source>Delete %1 of %2 / %3 from the history? This cannot be undone.</source>
        <translation>从历史中删除 %2 / %3 的 %1？此操作无法撤销。</translation>
    </message>
    <message>
        <source>Balance…</source>
        <translation>配平…</translation>
    </message>
</context>
<context>
    <name>desk::CImportDialog</name>
    <message>
        <source>Import statements</source>
        <translation>导入对账单</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>State</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>日期</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>类型</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>笔数</translation>
    </message>
    <message>
        <source>Bought amount</source>
        <translation>买入金额</translation>
    </message>
    <message>
        <source>Sold amount</source>
        <translation>卖出金额</translation>
    </message>
    <message>
        <source>New</source>
        <translation>新增</translation>
    </message>
    <message>
        <source>Imported before</source>
        <translation>已导入过</translation>
    </message>
    <message>
        <source>In other statements</source>
        <translation>其他对账单已有</translation>
    </message>
    <message>
        <source>Reported</source>
        <translation>已回报</translation>
    </message>
    <message>
        <source>Sheet</source>
        <translation>工作表</translation>
    </message>
    <message>
        <source>Row</source>
        <translation>行</translation>
    </message>
    <message>
        <source>Not taken, or to check</source>
        <translation>未采用原因或待核对</translation>
    </message>
    <message>
        <source>Every row is taken</source>
        <translation>所有行均采用</translation>
    </message>
    <message>
        <source>Account of files that name none that is followed:</source>
        <translation>未注明所跟踪账户的文件属于：</translation>
    </message>
    <message>
        <source>Undo this import…</source>
        <translation>撤销本次导入…</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>导入</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>choose one</source>
        <translation>请选择</translation>
    </message>
    <message>
        <source>%1: the import would not be what was shown any more, so nothing of it was imported. This is what would be imported now.</source>
        <translation>%1：要导入的内容与所显示的不再一致，因此没有导入。现在将导入的内容如下。</translation>
    </message>
    <message>
        <source>What was imported here was taken back.</source>
        <translation>本次导入已撤销。</translation>
    </message>
    <message>
        <source>Undo an import</source>
        <translation>撤销导入</translation>
    </message>
    <message>
        <source>Take back what was imported from %1?</source>
        <translation>撤销从 %1 导入的内容？</translation>
    </message>
    <message>
        <source>Take back</source>
        <translation>撤销</translation>
    </message>
    <message>
        <source>Reading …</source>
        <translation>正在读取…</translation>
    </message>
    <message>
        <source>rows read %1, taken %2, of these new %3, left out %4</source>
        <translation>读取 %1 行，采用 %2 行，其中新增 %3 行，未采用 %4 行</translation>
    </message>
    <message>
        <source>Taken back: %1</source>
        <translation>已撤销：%1</translation>
    </message>
    <message>
        <source>Preview, nothing is imported yet: %1</source>
        <translation>预览，尚未导入：%1</translation>
    </message>
    <message>
        <source>Imported: %1</source>
        <translation>已导入：%1</translation>
    </message>
    <message>
        <source>Imported %1 of %2 files: %3</source>
        <translation>已导入 %1 个文件（共 %2 个）：%3</translation>
    </message>
    <message>
        <source>refused</source>
        <translation>已拒绝</translation>
    </message>
    <message>
        <source>not imported yet</source>
        <translation>尚未导入</translation>
    </message>
    <message>
        <source>taken back</source>
        <translation>已撤销</translation>
    </message>
    <message>
        <source>imported</source>
        <translation>已导入</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Deals</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>nothing is taken: %1</source>
        <translation>没有采用任何内容：%1</translation>
    </message>
    <message>
        <source>to check: %1</source>
        <translation>请核对：%1</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
</context>
<context>
    <name>desk::CImportPage</name>
    <message>
        <source>Deals and orders from workbooks, CSV and text files.</source>
        <translation>可导入工作簿、CSV 和文本文件中的成交与委托。</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>所有文件 (*)</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Deals</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>Import statements…</source>
        <translation>导入对账单…</translation>
    </message>
    <message>
        <source>Undo the chosen import…</source>
        <translation>撤销所选导入…</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>导入</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>类型</translation>
    </message>
    <message>
        <source>Rows</source>
        <translation>行数</translation>
    </message>
    <message>
        <source>Imported at</source>
        <translation>导入时间</translation>
    </message>
    <message>
        <source>Nothing was imported</source>
        <translation>没有导入过</translation>
    </message>
    <message>
        <source>Import statements</source>
        <translation>导入对账单</translation>
    </message>
    <message>
        <source>Statements (*.xls *.xlsx *.ods *.csv *.txt)</source>
        <translation>对账单 (*.xls *.xlsx *.ods *.csv *.txt)</translation>
    </message>
    <message>
        <source>What was imported from %1 was taken back.</source>
        <translation>从 %1 导入的内容已撤销。</translation>
    </message>
    <message>
        <source>The import of %1 was taken back before.</source>
        <translation>%1 的导入此前已撤销。</translation>
    </message>
</context>
<context>
    <name>desk::CMainWindow</name>
    <message>
        <source>Linkage Desk</source>
        <translation>联动交易台</translation>
    </message>
    <message>
        <source>Profit %1    running orders %2    running tasks %3</source>
        <translation>盈亏 %1    未完委托 %2    运行任务 %3</translation>
    </message>
    <message>
        <source>Balance the history of %1</source>
        <translation>历史配平 %1</translation>
    </message>
    <message>
        <source>Balance %1</source>
        <translation>配平 %1</translation>
    </message>
    <message>
        <source>The history of %1 is being balanced.</source>
        <translation>%1 正在进行历史配平。</translation>
    </message>
    <message>
        <source>%1 will be balanced in 5 seconds.</source>
        <translation>%1 将在 5 秒后配平。</translation>
    </message>
    <message>
        <source>%1 is not balanced: another balance stands against it.</source>
        <translation>%1 未配平：与另一次配平冲突。</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>播放</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>cannot write %1</source>
        <translation>无法写入 %1</translation>
    </message>
    <message>
        <source>Built-in market, live</source>
        <translation>内置行情，实时</translation>
    </message>
    <message>
        <source>Balance now…</source>
        <translation>立即配平…</translation>
    </message>
    <message>
        <source>Import…</source>
        <translation>导入…</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Balance</source>
        <translation>配平</translation>
    </message>
    <message>
        <source>Balance times</source>
        <translation>配平时间</translation>
    </message>
    <message>
        <source>History</source>
        <translation>历史</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>导入</translation>
    </message>
    <message>
        <source>Stocks of the strategy</source>
        <translation>策略股票</translation>
    </message>
    <message>
        <source>Accounts and strategies</source>
        <translation>账户与策略</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Halted at %1; Play goes on.</source>
        <translation>已在 %1 停住，按“播放”继续。</translation>
    </message>
    <message>
        <source>The library is not running.</source>
        <translation>程序库未在运行。</translation>
    </message>
    <message>
        <source>Balances</source>
        <translation>配平</translation>
    </message>
    <message>
        <source>Past days</source>
        <translation>往日</translation>
    </message>
    <message>
        <source>Balances under way: %1. Balance times still to come today: %2. They stop with the desk.</source>
        <translation>进行中的配平：%1。今天尚未到的配平时间：%2。关闭后都不再执行。</translation>
    </message>
    <message>
        <source>Close the desk</source>
        <translation>关闭窗口</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Unequal</source>
        <translation>不平市值</translation>
    </message>
    <message>
        <source>State</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Running orders</source>
        <translation>运行中委托</translation>
    </message>
    <message>
        <source>Events</source>
        <translation>事件</translation>
    </message>
    <message>
        <source>Funds and positions</source>
        <translation>资金与持仓</translation>
    </message>
    <message>
        <source>Recording: nothing can be sent</source>
        <translation>录制数据：不能发送</translation>
    </message>
    <message>
        <source>Record…</source>
        <translation>录制…</translation>
    </message>
    <message>
        <source>Records what the library does, and says what is recorded</source>
        <translation>录制程序的运行，并显示录制情况</translation>
    </message>
</context>
<context>
    <name>desk::CPastDaysPage</name>
    <message>
        <source>reported</source>
        <translation>回报</translation>
    </message>
    <message>
        <source>answered by the server</source>
        <translation>服务器应答</translation>
    </message>
    <message>
        <source>imported</source>
        <translation>导入</translation>
    </message>
    <message>
        <source>imported from %1</source>
        <translation>导入自 %1</translation>
    </message>
    <message>
        <source>asked, no answer yet</source>
        <translation>已询问，尚无应答</translation>
    </message>
    <message>
        <source>not asked</source>
        <translation>未询问</translation>
    </message>
    <message>
        <source>answered, %1 filed</source>
        <translation>已应答，共 %1 笔</translation>
    </message>
    <message>
        <source>no trading that day</source>
        <translation>当日休市</translation>
    </message>
    <message>
        <source>not answered: %1</source>
        <translation>未得到应答：%1</translation>
    </message>
    <message>
        <source>bought %1 shares for %2 yuan, sold %3 for %4 yuan</source>
        <translation>买入 %1 股 %2 元，卖出 %3 股 %4 元</translation>
    </message>
    <message>
        <source>Deals: %1, %2</source>
        <translation>成交 %1 笔，%2</translation>
    </message>
    <message>
        <source>Orders: %1, %2</source>
        <translation>委托 %1 笔，%2</translation>
    </message>
    <message>
        <source>Deals</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Ask the server</source>
        <translation>询问服务器</translation>
    </message>
    <message>
        <source>Asks the trading server for the deals and orders of this day</source>
        <translation>向交易服务器询问这一天的成交与委托</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>日期</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>金额</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>编号</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>来源</translation>
    </message>
    <message>
        <source>Traded</source>
        <translation>已成交</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>No deals are filed under this day</source>
        <translation>这一天没有成交记录</translation>
    </message>
    <message>
        <source>No orders are filed under this day</source>
        <translation>这一天没有委托记录</translation>
    </message>
    <message>
        <source>Choose an account</source>
        <translation>请选择账户</translation>
    </message>
    <message>
        <source>Server: deals %1; orders %2.</source>
        <translation>服务器：成交%1；委托%2。</translation>
    </message>
</context>
<context>
    <name>desk::CPlanDialog</name>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Difference</source>
        <translation>差额</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Price type</source>
        <translation>价格类型</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Remark</source>
        <translation>备注</translation>
    </message>
    <message>
        <source>The account is not known to the data center.</source>
        <translation>数据中心没有该账户。</translation>
    </message>
    <message>
        <source>The data of the account is not loaded yet.</source>
        <translation>该账户的数据尚未载入。</translation>
    </message>
    <message>
        <source>Only stock and credit accounts are balanced.</source>
        <translation>只有股票账户和信用账户可以配平。</translation>
    </message>
    <message>
        <source>The strategy has traded nothing on this account.</source>
        <translation>该策略在此账户上没有成交。</translation>
    </message>
    <message>
        <source>Already balanced</source>
        <translation>已配平</translation>
    </message>
    <message>
        <source>Less than one lot</source>
        <translation>不足一手</translation>
    </message>
    <message>
        <source>Instrument not known</source>
        <translation>没有该合约信息</translation>
    </message>
    <message>
        <source>Balance</source>
        <translation>配平</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Amount about</source>
        <translation>金额约</translation>
    </message>
    <message>
        <source>Cancelled first: running orders %1, running tasks %2.</source>
        <translation>先撤销：未完委托 %1 笔，运行任务 %2 个。</translation>
    </message>
    <message>
        <source>Orders that would be sent now: %1, buying for about %2 yuan and selling for about %3 yuan.</source>
        <translation>现在将发出委托 %1 笔，买入约 %2 元，卖出约 %3 元。</translation>
    </message>
    <message>
        <source>Open orders may settle it</source>
        <translation>未完成委托可能已够</translation>
    </message>
    <message>
        <source>A task trades it</source>
        <translation>任务正在交易</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>%1 shares wait for open orders</source>
        <translation>%1 股等待未完成委托</translation>
    </message>
    <message>
        <source>Rounded: %1 shares stay unequal</source>
        <translation>取整：剩 %1 股不平</translation>
    </message>
    <message>
        <source>Rounded up by %1 shares</source>
        <translation>取整：多 %1 股</translation>
    </message>
    <message>
        <source>As of %1.</source>
        <translation>截至 %1。</translation>
    </message>
    <message>
        <source>As of %1; it changed at %2.</source>
        <translation>截至 %1；%2 有变化。</translation>
    </message>
</context>
<context>
    <name>desk::CRecordDialog</name>
    <message>
        <source>Recording %1</source>
        <translation>正在录制 %1</translation>
    </message>
    <message>
        <source>Recorded %1</source>
        <translation>已录制 %1</translation>
    </message>
    <message>
        <source>Not recorded any more: %1</source>
        <translation>不再录制：%1</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>录制</translation>
    </message>
    <message>
        <source>A recording holds everything that decides what the library does, with accounts, orders and the files of the library. It plays in this program, and a maker can follow it.</source>
        <translation>录制数据包含决定程序行为的一切内容，包括账号、委托和程序的文件。可在本程序中播放，也可供开发人员查看。</translation>
    </message>
    <message>
        <source>Record every session from its start</source>
        <translation>每次运行都从开始录制</translation>
    </message>
    <message>
        <source>Choose…</source>
        <translation>选择…</translation>
    </message>
    <message>
        <source>Directory</source>
        <translation>目录</translation>
    </message>
    <message>
        <source>Keep at most</source>
        <translation>最多保留</translation>
    </message>
    <message>
        <source> days</source>
        <translation> 天</translation>
    </message>
    <message>
        <source>any age</source>
        <translation>不限天数</translation>
    </message>
    <message>
        <source>The oldest recordings are removed when one begins.</source>
        <translation>每次开始录制时，删除最早的录制数据。</translation>
    </message>
    <message>
        <source>Record this session</source>
        <translation>录制本次运行</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Directory of the recordings</source>
        <translation>录制数据的目录</translation>
    </message>
    <message>
        <source>This session has begun already: recording begins with the next session.</source>
        <translation>本次运行已经开始：从下一次运行起录制。</translation>
    </message>
    <message>
        <source>Stop recording</source>
        <translation>停止录制</translation>
    </message>
    <message>
        <source>Stop recording this session? It cannot be gone on with.</source>
        <translation>停止录制本次运行？停止后不能继续。</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>Stop recording…</source>
        <translation>停止录制…</translation>
    </message>
    <message>
        <source>This session is not recorded.</source>
        <translation>本次运行没有录制。</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
</context>
<context>
    <name>desk::CRowsModel</name>
    <message>
        <source>Buy</source>
        <translation>买</translation>
    </message>
    <message>
        <source>Sell</source>
        <translation>卖</translation>
    </message>
</context>
<context>
    <name>desk::CRowsView</name>
    <message>
        <source>Save the table as CSV</source>
        <translation>将表格存为 CSV</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>&amp;Copy rows</source>
        <translation>复制所选行(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;Save as CSV…</source>
        <translation>存为 CSV(&amp;S)…</translation>
    </message>
    <message>
        <source>Choose c&amp;olumns…</source>
        <translation>选择列(&amp;O)…</translation>
    </message>
</context>
<context>
    <name>desk::CRunningPage</name>
    <message>
        <source>market</source>
        <translation>市价</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>证券</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Traded</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>No order is running</source>
        <translation>没有运行中的委托</translation>
    </message>
    <message>
        <source>Cancel or&amp;der</source>
        <translation>撤单(&amp;D)</translation>
    </message>
    <message>
        <source>Cancel order</source>
        <translation>撤单</translation>
    </message>
    <message>
        <source>Also by a double click on the order, or the key Delete</source>
        <translation>也可双击委托或按 Delete 键</translation>
    </message>
    <message>
        <source>Cancel all of the strategy…</source>
        <translation>撤销该策略全部委托…</translation>
    </message>
    <message>
        <source>The cancellation of order %1 was asked for.</source>
        <translation>已请求撤销委托 %1。</translation>
    </message>
    <message>
        <source>Order %1 is not cancelled: %2.</source>
        <translation>委托 %1 未撤销：%2。</translation>
    </message>
    <message>
        <source>Cancel orders</source>
        <translation>撤销委托</translation>
    </message>
    <message>
        <source>The newest %1 of %2</source>
        <translation>最新 %1 笔，共 %2 笔</translation>
    </message>
    <message>
        <source>Cancel all running orders of %1 / %2? Now there are %3.</source>
        <translation>撤销 %1 / %2 的全部运行中委托？现有 %3 笔。</translation>
    </message>
    <message>
        <source>Cancel the orders</source>
        <translation>撤销委托</translation>
    </message>
</context>
<context>
    <name>desk::Question</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
</TS>
