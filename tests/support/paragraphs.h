#pragma once

#include <cstdint>
#include <string_view>

namespace test_support {

struct paragraph {
    const char* language;
    std::uint32_t number;  // LCID
    std::u16string_view text;
};

// About 200 characters each, fewer where a character is a syllable or a word.
inline constexpr paragraph paragraphs[] = {
    {"English", 0x409,
     u"The meeting has been moved to Thursday morning because the large room is being painted this "
     u"week. Please bring the figures for last month, and tell Anna whether you would like to have "
     u"lunch with us afterwards."},
    {"Danish", 0x406,
     u"Mødet er flyttet til torsdag morgen, fordi det store lokale bliver malet i denne uge. Tag "
     u"venligst tallene for sidste måned med, og sig til Anna, hvis du gerne vil spise frokost "
     u"sammen med os bagefter."},
    {"Swedish", 0x41D,
     u"Mötet har flyttats till torsdag morgon eftersom det stora rummet målas den här veckan. Ta "
     u"med siffrorna för förra månaden, och säg till Anna om du vill äta lunch tillsammans med oss "
     u"efteråt."},
    {"Norwegian", 0x414,
     u"Møtet er flyttet til torsdag morgen fordi det store rommet blir malt denne uken. Ta med deg "
     u"tallene for forrige måned, og si fra til Anna hvis du har lyst til å spise lunsj sammen med "
     u"oss etterpå."},
    {"German", 0x407,
     u"Die Besprechung ist auf Donnerstagmorgen verlegt worden, weil der große Raum diese Woche "
     u"gestrichen wird. Bitte bringen Sie die Zahlen des letzten Monats mit und sagen Sie Anna, ob "
     u"Sie danach mit uns essen möchten."},
    {"Dutch", 0x413,
     u"De vergadering is verplaatst naar donderdagochtend omdat de grote zaal deze week wordt "
     u"geschilderd. Neem alsjeblieft de cijfers van vorige maand mee en laat Anna weten of je "
     u"daarna met ons wilt lunchen."},
    {"French", 0x40C,
     u"La réunion a été reportée à jeudi matin parce que la grande salle est repeinte cette "
     u"semaine. Apportez s'il vous plaît les chiffres du mois dernier et dites à Anna si vous "
     u"voulez déjeuner avec nous ensuite."},
    {"Spanish", 0xC0A,
     u"La reunión se ha pasado al jueves por la mañana porque esta semana están pintando la sala "
     u"grande. Trae por favor las cifras del mes pasado y dile a Ana si después quieres comer con "
     u"nosotros."},
    {"Portuguese", 0x416,
     u"A reunião foi transferida para quinta-feira de manhã porque a sala grande está a ser "
     u"pintada "
     u"esta semana. Traga por favor os números do mês passado e diga à Ana se depois quer almoçar "
     u"conosco."},
    {"Italian", 0x410,
     u"La riunione è stata spostata a giovedì mattina perché questa settimana la sala grande viene "
     u"imbiancata. Porti per favore le cifre del mese scorso e dica ad Anna se dopo vuole pranzare "
     u"con noi."},
    {"Polish", 0x415,
     u"Spotkanie zostało przeniesione na czwartek rano, ponieważ w tym tygodniu malują dużą salę. "
     u"Proszę przynieść liczby za zeszły miesiąc i powiedzieć Annie, czy później zje pan z nami "
     u"obiad."},
    {"Czech", 0x405,
     u"Schůzka byla přesunuta na čtvrtek ráno, protože velkou místnost tento týden malují. "
     u"Přineste prosím čísla za minulý měsíc a řekněte Anně, jestli s námi potom chcete jít na "
     u"oběd do nové restaurace."},
    {"Hungarian", 0x40E,
     u"A megbeszélést csütörtök reggelre halasztottuk, mert a nagytermet ezen a héten festik. "
     u"Kérem, hozza magával a múlt havi adatokat, és szóljon Annának, hogy utána velünk ebédel-e "
     u"az új étteremben."},
    {"Romanian", 0x418,
     u"Ședința a fost mutată joi dimineață pentru că sala mare se zugrăvește săptămâna aceasta. Vă "
     u"rog să aduceți cifrele de luna trecută și să-i spuneți Anei dacă vreți să luați apoi masa "
     u"cu noi."},
    {"Greek", 0x408,
     u"Η συνάντηση μεταφέρθηκε για την Πέμπτη το πρωί, επειδή η μεγάλη αίθουσα βάφεται αυτή την "
     u"εβδομάδα. Φέρτε παρακαλώ τα στοιχεία του περασμένου μήνα και πείτε στην Άννα αν θέλετε να "
     u"φάμε μαζί."},
    {"Turkish", 0x41F,
     u"Büyük salon bu hafta boyandığı için toplantı perşembe sabahına alındı. Lütfen geçen ayın "
     u"rakamlarını yanınızda getirin ve toplantıdan sonra bizimle öğle yemeği yemek isteyip "
     u"istemediğinizi Ayşe'ye söyleyin."},
    {"Russian", 0x419,
     u"Встреча перенесена на утро четверга, потому что большой зал на этой неделе красят. "
     u"Пожалуйста, принесите цифры за прошлый месяц и скажите Анне, хотите ли вы потом пообедать "
     u"вместе с нами."},
    {"Ukrainian", 0x422,
     u"Зустріч перенесли на ранок четверга, бо велику залу цього тижня фарбують. Будь ласка, "
     u"принесіть цифри за минулий місяць і скажіть Ганні, чи хочете ви потім пообідати разом із "
     u"нами в новій їдальні."},
    {"Bulgarian", 0x402,
     u"Срещата е преместена за четвъртък сутринта, защото тази седмица боядисват голямата зала. "
     u"Моля, донесете числата за миналия месец и кажете на Анна дали искате след това да "
     u"обядвате с нас."},
    {"Arabic", 0x401,
     u"تم تأجيل الاجتماع إلى صباح يوم الخميس لأن القاعة الكبيرة يجري طلاؤها هذا الأسبوع. يرجى "
     u"إحضار أرقام الشهر الماضي معكم، وإخبار آنا إذا كنتم ترغبون في تناول الغداء معنا بعد ذلك في "
     u"المطعم الجديد."},
    {"Hebrew", 0x40D,
     u"הפגישה נדחתה ליום חמישי בבוקר כי השבוע צובעים את האולם הגדול. בבקשה הביאו את המספרים של "
     u"החודש שעבר, ואמרו לאנה אם אתם רוצים לאכול איתנו אחר כך ארוחת צהריים במסעדה החדשה."},
    {"Hindi", 0x439,
     u"बैठक को गुरुवार की सुबह के लिए टाल दिया गया है क्योंकि इस सप्ताह बड़े कमरे की पुताई हो रही है। कृपया पिछले "
     u"महीने के आँकड़े साथ लाएँ और अन्ना को बताएँ कि क्या आप बाद में हमारे साथ भोजन करना चाहेंगे।"},
    {"Thai", 0x41E,
     u"การประชุมถูกเลื่อนไปเป็นเช้าวันพฤหัสบดี เพราะสัปดาห์นี้กำลังทาสีห้องใหญ่ "
     u"กรุณานำตัวเลขของเดือนที่แล้วมาด้วย และบอกแอนนาว่าหลังจากนั้นคุณอยากไปกินข้าวกลางวันกับเราหรือไม่"},
    {"Vietnamese", 0x42A,
     u"Cuộc họp đã được dời sang sáng thứ năm vì tuần này phòng lớn đang được sơn lại. Xin vui "
     u"lòng "
     u"mang theo số liệu của tháng trước và báo cho Anna biết sau đó bạn có muốn ăn trưa cùng "
     u"chúng "
     u"tôi không."},
    {"Chinese (simplified)", 0x804,
     u"因为本周大会议室正在重新粉刷，会议改到星期四上午举行。请带上上个月的统计数字，并告诉安娜会后"
     u"您是否愿意和我们"
     u"一起吃午饭。如果您来不了，请提前给办公室打电话，我们会把会议记录发给您。"},
    {"Chinese (traditional)", 0x404,
     u"因為本週大會議室正在重新粉刷，會議改到星期四上午舉行。請帶上上個月的統計數字，並告訴安娜會後"
     u"您是否願意和我們"
     u"一起吃午飯。如果您來不了，請提前給辦公室打電話，我們會把會議記錄寄給您。"},
    {"Japanese", 0x411,
     u"今週は大きい会議室の塗装をしているので、打ち合わせは木曜日の朝に変更になりました。先月の数字"
     u"を持って来てくだ"
     u"さい。終わったあと一緒に昼ご飯を食べるかどうか、アンナに知らせてください。"},
    {"Korean", 0x412,
     u"이번 주에 큰 회의실을 새로 칠하고 있어서 회의가 목요일 아침으로 옮겨졌습니다. 지난달 숫자를 "
     u"가지고 오시고, "
     u"회의가 끝난 뒤에 우리와 함께 점심을 드실 수 있는지 안나에게 알려 주시기 바랍니다."},
    {"Croatian", 0x41A,
     u"Sastanak je premješten na četvrtak ujutro jer se ovaj tjedan boji velika dvorana. Molimo "
     u"vas da ponesete brojke za prošli mjesec i javite Ani hoćete li poslije s nama ići na ručak "
     u"u novi restoran."},
    {"Serbian (Cyrillic)", 0xC1A,
     u"Састанак је померен за четвртак ујутру јер се ове недеље кречи велика сала. Молимо вас да "
     u"понесете бројке за прошли месец и јавите Ани да ли желите после да идете са нама на ручак у "
     u"нови ресторан."},
    {"Serbian (Latin)", 0x81A,
     u"Sastanak je pomeren za četvrtak ujutru jer se ove nedelje kreči velika sala. Molimo vas da "
     u"ponesete brojke za prošli mesec i javite Ani da li želite posle da idete sa nama na ručak u "
     u"novi restoran."},
    {"Finnish", 0x40B,
     u"Kokous on siirretty torstaiaamuksi, koska suurta huonetta maalataan tällä viikolla. Ottakaa "
     u"mukaan viime kuun luvut ja kertokaa Annalle, haluatteko syödä lounasta kanssamme kokouksen "
     u"jälkeen."},
};

}  // namespace test_support
